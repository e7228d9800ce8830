// Powers of the 3x3 step matrix of a three-term recurrence mod m, for the skip-ahead of
// MRG32K3A: by a 64-bit exponent, by a multi-word exponent with the tables of B^(2^i) of
// each component, and by any multi-word exponent without a table.
#include "streams/vect3_power.h"

#include <string.h>

#include "qor/core.h"

namespace rof {
#include "streams/mrg32k3a_matrices.inc"
}  // namespace rof

namespace {

using Matrix = uint32_t[9];

// Residues below m < 2^32: a product is reduced by its 64-bit remainder, and the sum of two
// residues, below 2^33, by one subtraction.
template <class Modulus>
uint32_t AddMod(uint64_t x, uint64_t y, Modulus m) {
  const uint64_t s = x + y;
  return static_cast<uint32_t>(s >= m ? s - m : s);
}

template <class Modulus>
void MultiplyInto(Matrix r, const Matrix x, const Matrix y, Modulus m) {
  Matrix p;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      uint32_t s = 0;
      for (int k = 0; k < 3; ++k)
        s = AddMod(s, static_cast<uint64_t>(x[3 * i + k]) * y[3 * k + j] % m, m);
      p[3 * i + j] = s;
    }
  memcpy(r, p, sizeof p);
}

template <class Modulus>
void Apply(uint32_t v[3], const Matrix r, Modulus m) {
  uint32_t w[3];
  for (int i = 0; i < 3; ++i) {
    uint32_t s = 0;
    for (int k = 0; k < 3; ++k) s = AddMod(s, static_cast<uint64_t>(r[3 * i + k]) * v[k] % m, m);
    w[i] = s;
  }
  memcpy(v, w, sizeof w);
}

// B has the rows (0, 1, 0), (0, 0, 1), (c2, c1, c0).
void StepMatrix(Matrix b, const uint32_t c[3]) {
  const Matrix s = {0, 1, 0, 0, 0, 1, c[2], c[1], c[0]};
  memcpy(b, s, sizeof s);
}

constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// Right-to-left over the bits of `count` 64-bit digits: R *= B on a set bit, B squared.
void PowerByDigits(uint32_t v[3], const uint32_t c[3], uint32_t m, int count,
                   const uint64_t digits[]) {
  Matrix r, b;
  memcpy(r, kIdentity, sizeof r);
  StepMatrix(b, c);
  for (int d = 0; d < count; ++d) {
    uint64_t e = digits[d];
    for (int bit = 0; bit < 64 && (e != 0 || d < count - 1); ++bit, e >>= 1) {
      if (e & 1) MultiplyInto(r, r, b, m);
      MultiplyInto(b, b, b, m);
    }
  }
  Apply(v, r, m);
}

// The table forms: the modulus is a constant of the instance, so that the compiler folds it
// into the remainders.
template <uint32_t kModulus>
void PowerByTable(uint32_t v[3], int n, const uint64_t digits[], const uint32_t table[193][9]) {
  constexpr uint64_t m = kModulus;
  Matrix r;
  memcpy(r, kIdentity, sizeof r);
  // The table ends at B^(2^192): higher bits have no entry.
  for (int w = 0; w < 2 * n; ++w) {
    uint32_t word = static_cast<uint32_t>(digits[w / 2] >> (32 * (w % 2)));
    for (int bit = 32 * w; word != 0 && bit < 193; ++bit, word >>= 1)
      if (word & 1) MultiplyInto(r, r, table[bit], m);
  }
  Apply(v, r, m);
}

}  // namespace

extern "C" {

QOR_API void __rofiVect3PowMod(uint32_t v[3], const uint32_t c[3], uint32_t m, uint64_t e) {
  if (e == 0) return;
  PowerByDigits(v, c, m, 1, &e);
}

QOR_API void __rofiVect3PowArrayMod_M1(uint32_t v[3], int n, const uint64_t digits[],
                                       const uint32_t table[193][9]) {
  PowerByTable<4294967087u>(v, n, digits, table);
}

QOR_API void __rofiVect3PowArrayMod_M2(uint32_t v[3], int n, const uint64_t digits[],
                                       const uint32_t table[193][9]) {
  PowerByTable<4294944443u>(v, n, digits, table);
}

// Up to 10 digits are copied to the stack, more to the heap.
QOR_API int __rofiVect3PowArrayMod(uint32_t v[3], const uint32_t c[3], uint32_t m, int n,
                                   const uint64_t digits[]) {
  constexpr int kStackDigits = 10;
  uint64_t local[kStackDigits];
  uint64_t* copy = local;
  if (n > kStackDigits) {
    copy = static_cast<uint64_t*>(qor_serv_allocate(static_cast<size_t>(n) * 8, 128));
    if (copy == nullptr) return ROF_STATUS_NO_MEMORY;
  }
  if (n > 0) memcpy(copy, digits, static_cast<size_t>(n) * 8);
  PowerByDigits(v, c, m, n, copy);
  if (copy != local) qor_serv_deallocate(copy);
  return ROF_STATUS_OK;
}

}  // extern "C"
