// Skip-ahead arithmetic: 3x3 matrix powers against stepping, x^n mod P, memory failures.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "generators/mt19937.h"
#include "stream_helpers.h"
#include "streams/vect3_power.h"

namespace {
namespace polynomials {
#include "generators/mt19937_polynomial.inc"
#include "generators/sfmt19937_polynomial.inc"
}  // namespace polynomials

struct Component {
  uint32_t c[3];
  uint32_t m;
  const uint32_t (*table)[9];
  void (*with_table)(uint32_t*, int, const uint64_t*, const uint32_t (*)[9]);
};
const Component kComponents[] = {
    {{0, 1403580, 4294156359u}, 4294967087u, rof::kMrg32k3aMatrices1, __rofiVect3PowArrayMod_M1},
    {{527612, 0, 4293573854u}, 4294944443u, rof::kMrg32k3aMatrices2, __rofiVect3PowArrayMod_M2},
};

void Step(uint32_t v[3], const Component& k) {
  const uint64_t next = (uint64_t{k.c[0]} * v[2] % k.m + uint64_t{k.c[1]} * v[1] % k.m +
                         uint64_t{k.c[2]} * v[0] % k.m) %
                        k.m;
  v[0] = v[1];
  v[1] = v[2];
  v[2] = static_cast<uint32_t>(next);
}

using Vec3 = std::vector<uint32_t>;

TEST(Vect3PowerTest, SmallExponentsEqualStepping) {
  for (const Component& k : kComponents) {
    uint32_t stepped[3] = {12345, 67890, 4000000000u};
    for (uint64_t e = 0; e <= 300; ++e) {
      Vec3 a = {12345, 67890, 4000000000u}, b = a, c = a;
      __rofiVect3PowMod(a.data(), k.c, k.m, e);
      k.with_table(b.data(), 1, &e, k.table);
      ASSERT_EQ(__rofiVect3PowArrayMod(c.data(), k.c, k.m, 1, &e), ROF_STATUS_OK);
      const Vec3 want(stepped, stepped + 3);
      ASSERT_TRUE(a == want && b == want && c == want) << e;
      Step(stepped, k);
    }
  }
}

// Up to 191-bit exponents: the table and general forms agree, with any digit count.
TEST(Vect3PowerTest, MultiDigitFormsAgreeUpToTwoToThe190) {
  const uint64_t exponents[][3] = {{~0ull, 0, 0},
                                   {0x123456789ABCDEFull, 0xFEDCBA987654321ull, 0x3FFFFFFFFFFFull},
                                   {5, 0, 0x7FFFFFFFFFFFFFFFull}};
  for (const Component& k : kComponents)
    for (const auto& e : exponents) {
      uint32_t t[3] = {1, 2, 3}, g[3] = {1, 2, 3}, z[3] = {1, 2, 3};
      k.with_table(t, 3, e, k.table);
      ASSERT_EQ(__rofiVect3PowArrayMod(g, k.c, k.m, 3, e), ROF_STATUS_OK);
      EXPECT_EQ(Vec3(t, t + 3), Vec3(g, g + 3));
      // The same number with twelve digits, nine of them zero: the heap copy of the digits.
      uint64_t wide[12] = {e[0], e[1], e[2]};
      ASSERT_EQ(__rofiVect3PowArrayMod(z, k.c, k.m, 12, wide), ROF_STATUS_OK);
      EXPECT_EQ(Vec3(z, z + 3), Vec3(g, g + 3));
    }
}

struct Poly { const uint32_t* terms; int count, degree; };
const Poly kMt{polynomials::kMt19937Polynomial, 135, 19937};
const Poly kSfmt{polynomials::kSfmt19937Polynomial, 6711, 19968};

// x^n mod P by n multiplications by x, in dense form.
std::vector<uint64_t> PlainRemainder(const Poly& p, uint64_t n, int words) {
  std::vector<uint64_t> r(words, 0), dense(words, 0);
  for (int t = 0; t < p.count; ++t) dense[p.terms[t] >> 6] ^= 1ull << (p.terms[t] & 63);
  r[0] = 1;
  for (uint64_t k = 0; k < n; ++k) {
    for (int w = words - 1; w > 0; --w) r[w] = (r[w] << 1) | (r[w - 1] >> 63);
    r[0] <<= 1;
    if ((r[p.degree >> 6] >> (p.degree & 63)) & 1)
      for (int w = 0; w < words; ++w) r[w] ^= dense[w];
  }
  return r;
}

TEST(PolynomialTest, RemainderEqualsRepeatedMultiplicationByX) {
  constexpr int kWords = 624;
  for (const Poly& p : {kMt, kSfmt})
    for (uint64_t n : {uint64_t{5}, uint64_t(p.degree - 1), uint64_t(p.degree), uint64_t{45000}}) {
      std::vector<uint64_t> out(kWords, ~0ull);
      ASSERT_EQ(__rofPolyRem(n, p.degree, p.count, p.terms, kWords, out.data()), ROF_STATUS_OK);
      EXPECT_EQ(out, PlainRemainder(p, n, kWords)) << p.degree << " " << n;
    }
}

// Each allocation of the arithmetic can fail: the status says so, nothing leaks.
TEST(SkipAheadMemoryTest, FailuresGiveNoMemoryAndLeakNothing) {
  NoLeakScope no_leak;
  std::vector<uint64_t> out(624);
  uint64_t digits[11] = {7};
  uint32_t v[3] = {4, 5, 6};
  {
    alloc_control::ScopedFailure fail(0);
    EXPECT_EQ(__rofPolyRem(20000, kMt.degree, kMt.count, kMt.terms, 624, out.data()),
              ROF_STATUS_NO_MEMORY);
    EXPECT_EQ(__rofiVect3PowArrayMod(v, kComponents[0].c, kComponents[0].m, 11, digits),
              ROF_STATUS_NO_MEMORY);
    EXPECT_EQ(Vec3(v, v + 3), Vec3({4, 5, 6})) << "the vector stays";
  }
  const rof::Mt19937Jumps j = rof::Mt19937JumpFunctions();
  for (auto jump : {__rof_SkipAheadHorner, __rof_SkipAheadSWin}) {
    void* stream = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&stream, ROF_BRNG_MT19937, 0, nullptr), ROF_STATUS_OK);
    const int failing = alloc_control::ForEachFailure(
        [&] {
          rofSkipAheadDesc d = j.desc;
          d.nskip = 5000000;
          return jump(stream, j.zero, j.add, j.copy, j.step, j.finish, j.prepare, &d);
        },
        [](int status) { EXPECT_EQ(status, ROF_STATUS_NO_MEMORY); }, [] {});
    EXPECT_GE(failing, 3);
    __rofDeleteStream(&stream);
  }
}
}  // namespace
