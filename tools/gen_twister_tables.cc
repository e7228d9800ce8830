// Tables of the skip-ahead arithmetic:
//   mrg32k3a   the 193 matrices B^(2^i) of each MRG32K3A component, mod m1 and m2;
//   mt19937    the exponents of the characteristic polynomial of MT19937;
//   sfmt19937  the same for SFMT19937, whose step is one 128-bit group.
// The polynomials come from Berlekamp-Massey over GF(2) on one output bit of each generator:
// the minimal polynomial of that bit sequence is the characteristic polynomial of the
// recurrence. Run as `build/tools/gen_twister_tables <what> > <file>`.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "tools/gf2_polynomial.h"

namespace {

// ---- MRG32K3A step matrices ----

using Matrix = uint64_t[3][3];

void Multiply(const Matrix x, const Matrix y, uint64_t m, Matrix out) {
  Matrix r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      unsigned __int128 s = 0;
      for (int k = 0; k < 3; ++k) s += static_cast<unsigned __int128>(x[i][k]) * y[k][j];
      r[i][j] = static_cast<uint64_t>(s % m);
    }
  memcpy(out, r, sizeof r);
}

// B has the rows (0, 1, 0), (0, 0, 1), (c2, c1, c0) for the coefficients c0, c1, c2 of the
// lags 1, 2 and 3.
void PrintMatrices(const char* name, uint64_t c0, uint64_t c1, uint64_t c2, uint64_t m) {
  Matrix b = {{0, 1, 0}, {0, 0, 1}, {c2, c1, c0}};
  printf("\n// B^(2^i), i = 0 to 192, rows in order, mod %llu.\n", (unsigned long long)m);
  printf("alignas(16) const uint32_t %s[193][9] = {\n", name);
  for (int i = 0; i < 193; ++i) {
    printf("    {");
    for (int k = 0; k < 9; ++k)
      printf("%s%lluu", k ? ", " : "", (unsigned long long)b[k / 3][k % 3]);
    printf("},\n");
    Multiply(b, b, m, b);
  }
  printf("};\n");
}

// The exponents of the minimal polynomial of a bit sequence, ascending.
std::vector<uint32_t> PolynomialExponents(const std::vector<uint8_t>& bits) {
  const gf2::Poly p = gf2::MinimalPolynomial(bits);
  std::vector<uint32_t> exponents;
  for (int i = 0; i <= gf2::Degree(p); ++i)
    if (gf2::Coefficient(p, i)) exponents.push_back(static_cast<uint32_t>(i));
  return exponents;
}

// ---- the two generators, one output bit per step ----

std::vector<uint8_t> Mt19937Bits(size_t count) {
  constexpr int kN = 624, kM = 397;
  uint32_t mt[kN];
  mt[0] = 5489;
  for (int i = 1; i < kN; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + i;
  std::vector<uint8_t> bits(count);
  for (size_t k = 0; k < count; ++k) {
    const int i = static_cast<int>(k % kN);
    const uint32_t y = (mt[i] & 0x80000000u) | (mt[(i + 1) % kN] & 0x7FFFFFFFu);
    mt[i] = mt[(i + kM) % kN] ^ (y >> 1) ^ ((mt[(i + 1) % kN] & 1) ? 0x9908B0DFu : 0);
    bits[k] = mt[i] & 1;
  }
  return bits;
}

std::vector<uint8_t> Sfmt19937Bits(size_t count) {
  constexpr int kGroups = 156, kPos1 = 122;
  constexpr uint32_t kMask[4] = {0xDFFFFFEFu, 0xDDFECB7Fu, 0xBFFAFFFFu, 0xBFFFFFF6u};
  // A state of fixed arbitrary words: the seeding routine's states lie in a subspace that
  // misses the factor x^3 + x + 1, so their output has a minimal polynomial of degree 19965.
  uint32_t w[kGroups][4];
  uint64_t x = 0x9E3779B97F4A7C15ull;
  for (int i = 0; i < kGroups * 4; ++i) {
    x ^= x << 13, x ^= x >> 7, x ^= x << 17;
    w[i / 4][i % 4] = static_cast<uint32_t>(x >> 32);
  }
  auto shift_left_byte = [](const uint32_t* a, uint32_t* o) {  // 128 bits << 8
    const unsigned __int128 v =
        (static_cast<unsigned __int128>((static_cast<uint64_t>(a[3]) << 32) | a[2]) << 64) |
        ((static_cast<uint64_t>(a[1]) << 32) | a[0]);
    const unsigned __int128 s = v << 8;
    for (int k = 0; k < 4; ++k) o[k] = static_cast<uint32_t>(s >> (32 * k));
  };
  auto shift_right_byte = [](const uint32_t* a, uint32_t* o) {  // 128 bits >> 8
    const unsigned __int128 v =
        (static_cast<unsigned __int128>((static_cast<uint64_t>(a[3]) << 32) | a[2]) << 64) |
        ((static_cast<uint64_t>(a[1]) << 32) | a[0]);
    const unsigned __int128 s = v >> 8;
    for (int k = 0; k < 4; ++k) o[k] = static_cast<uint32_t>(s >> (32 * k));
  };
  std::vector<uint8_t> bits(count);
  for (size_t k = 0; k < count; ++k) {
    const int i = static_cast<int>(k % kGroups);
    uint32_t* a = w[i];
    const uint32_t* b = w[(i + kPos1) % kGroups];
    const uint32_t* c = w[(i + kGroups - 2) % kGroups];
    const uint32_t* d = w[(i + kGroups - 1) % kGroups];
    uint32_t al[4], cr[4];
    shift_left_byte(a, al);
    shift_right_byte(c, cr);
    for (int j = 0; j < 4; ++j)
      a[j] = a[j] ^ al[j] ^ ((b[j] >> 11) & kMask[j]) ^ cr[j] ^ (d[j] << 18);
    bits[k] = a[0] & 1;
  }
  return bits;
}

void PrintPolynomial(const char* name, const std::vector<uint32_t>& e) {
  printf("\n// %zu exponents, ascending, of the characteristic polynomial of degree %u.\n",
         e.size(), e.back());
  printf("const uint32_t %s[%zu] = {", name, e.size());
  for (size_t i = 0; i < e.size(); ++i)
    printf("%s%u", i == 0 ? "\n    " : i % 12 ? ", " : ",\n    ", e[i]);
  printf(",\n};\n");
}

// The exponents the published generator is known to have at both ends.
bool Ends(const std::vector<uint32_t>& e, std::vector<uint32_t> head, std::vector<uint32_t> tail,
          size_t count) {
  if (e.size() != count) return false;
  for (size_t i = 0; i < head.size(); ++i)
    if (e[i] != head[i]) return false;
  for (size_t i = 0; i < tail.size(); ++i)
    if (e[e.size() - tail.size() + i] != tail[i]) return false;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* what = argc > 1 ? argv[1] : "";
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  if (strcmp(what, "mrg32k3a") == 0) {
    printf("// Made by: build/tools/gen_twister_tables mrg32k3a > streams/mrg32k3a_matrices.inc\n");
    printf("// clang-format off\n");
    PrintMatrices("kMrg32k3aMatrices1", 0, 1403580, 4294156359u, 4294967087u);
    PrintMatrices("kMrg32k3aMatrices2", 527612, 0, 4293573854u, 4294944443u);
    return 0;
  }
  std::vector<uint32_t> e;
  if (strcmp(what, "mt19937") == 0) {
    printf(
        "// Made by: build/tools/gen_twister_tables mt19937 > generators/mt19937_polynomial.inc\n");
    printf("// clang-format off\n");
    e = PolynomialExponents(Mt19937Bits(2 * 19937 + 200));
    if (!Ends(e, {0, 1189, 1416, 1585, 1643}, {19314, 19937}, 135)) return 2;
    PrintPolynomial("kMt19937Polynomial", e);
    return 0;
  }
  if (strcmp(what, "sfmt19937") == 0) {
    printf(
        "// Made by: build/tools/gen_twister_tables sfmt19937 > "
        "generators/sfmt19937_polynomial.inc\n");
    printf("// clang-format off\n");
    e = PolynomialExponents(Sfmt19937Bits(2 * 19968 + 200));
    if (!Ends(e, {0, 1041, 1195, 1197, 1232}, {19393, 19437, 19968}, 6711)) return 2;
    PrintPolynomial("kSfmt19937Polynomial", e);
    return 0;
  }
  fprintf(stderr, "usage: gen_twister_tables mrg32k3a|mt19937|sfmt19937\n");
  return 1;
}
