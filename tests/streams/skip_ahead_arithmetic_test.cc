// Skip-ahead arithmetic: 3x3 matrix powers against stepping, x^n mod P, memory failures.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "generators/mt19937.h"
#include "stream_helpers.h"
#include "streams/vect3_power.h"

namespace {
namespace polynomials {
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

// Small exponents equal stepping in all three forms; up to 191-bit exponents the table and
// general forms agree, with any digit count.
TEST(Vect3PowerTest, FormsEqualSteppingAndAgreeUpToTwoToThe190) {
  const uint64_t exponents[][3] = {{~0ull, 0, 0},
                                   {0x123456789ABCDEFull, 0xFEDCBA987654321ull, 0x3FFFFFFFFFFFull},
                                   {5, 0, 0x7FFFFFFFFFFFFFFFull}};
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
    for (const auto& e : exponents) {
      Vec3 t = {1, 2, 3}, g = t, z = t;
      k.with_table(t.data(), 3, e, k.table);
      ASSERT_EQ(__rofiVect3PowArrayMod(g.data(), k.c, k.m, 3, e), ROF_STATUS_OK);
      EXPECT_EQ(t, g);
      // The same number with twelve digits, nine of them zero: the heap copy of the digits.
      uint64_t wide[12] = {e[0], e[1], e[2]};
      ASSERT_EQ(__rofiVect3PowArrayMod(z.data(), k.c, k.m, 12, wide), ROF_STATUS_OK);
      EXPECT_EQ(z, g);
    }
  }
}

// The SFMT19937 polynomial, which no generator here jumps by (MT19937's skip-ahead checks its own).
const uint32_t* const kTerms = polynomials::kSfmt19937Polynomial;
constexpr int kTermCount = 6711, kDegree = 19968, kWords = 624;

// x^n mod P by n multiplications by x, in dense form.
std::vector<uint64_t> PlainRemainder(uint64_t n) {
  std::vector<uint64_t> r(kWords, 0), dense(kWords, 0);
  for (int t = 0; t < kTermCount; ++t) dense[kTerms[t] >> 6] ^= 1ull << (kTerms[t] & 63);
  r[0] = 1;
  for (uint64_t k = 0; k < n; ++k) {
    for (int w = kWords - 1; w > 0; --w) r[w] = (r[w] << 1) | (r[w - 1] >> 63);
    r[0] <<= 1;
    if ((r[kDegree >> 6] >> (kDegree & 63)) & 1)
      for (int w = 0; w < kWords; ++w) r[w] ^= dense[w];
  }
  return r;
}

// 40003 ends in multiplications by x of a dense remainder: the carry into x^degree, a word up.
TEST(PolynomialTest, RemainderEqualsRepeatedMultiplicationByX) {
  for (uint64_t n : {uint64_t{5}, uint64_t{kDegree - 1}, uint64_t{kDegree}, uint64_t{40003}}) {
    std::vector<uint64_t> out(kWords, ~0ull);
    ASSERT_EQ(__rofPolyRem(n, kDegree, kTermCount, kTerms, kWords, out.data()), ROF_STATUS_OK);
    EXPECT_EQ(out, PlainRemainder(n)) << n;
  }
}

// Each allocation can fail (the jumps' include the remainder's): the status says so, no leak.
TEST(SkipAheadMemoryTest, FailuresGiveNoMemoryAndLeakNothing) {
  NoLeakScope no_leak;
  uint64_t digits[11] = {7};
  uint32_t v[3] = {4, 5, 6};
  {
    alloc_control::ScopedFailure fail(0);
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
