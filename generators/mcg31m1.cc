// MCG31M1: x' = a * x mod (2^31 - 1), a = 1132489760. The main loop runs eight lanes, each
// stepping by a^8, in SSE2 64-bit products with the same reduction as the scalar
// recurrence; the output equals the one-at-a-time sequence.
#include <emmintrin.h>

#include "streams/modular_power.h"
#include "streams/registry.h"

using rof::kModulus2P31M1;
using rof::Reduce2P31M1;

namespace {

constexpr uint32_t kMultiplier = 1132489760;
constexpr uint32_t kModulus = kModulus2P31M1;
// 1 / (2^31 - 1) rounded to double: bits 0x3E00000000200000.
constexpr double kScale = 0x1.00000002p-31;

struct State {
  rofStreamHeader header;
  uint32_t x;  // the next output, 1 to 2^31 - 2
  uint32_t a;  // the multiplier in force; leapfrog changes it
};
static_assert(sizeof(State) == 24, "MCG31M1 record size");

// Eight consecutive elements as 32-bit integers, four in each register.
struct Lanes {
  __m128i v[2];
};

// x * a mod (2^31 - 1) in four lanes, `a` in every dword. The products of the even and the odd
// lanes are formed in the two 64-bit halves and folded as (p & m) + (p >> 31), which is below
// 2^32; then r >= m takes one m off, compared unsigned through a sign flip.
inline __m128i MulMod(__m128i x, __m128i a) {
  const __m128i modulus64 = _mm_set1_epi64x(kModulus);
  const __m128i even = _mm_mul_epu32(x, a);
  const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(x, 32), a);
  const __m128i r_even = _mm_add_epi64(_mm_and_si128(even, modulus64), _mm_srli_epi64(even, 31));
  const __m128i r_odd = _mm_add_epi64(_mm_and_si128(odd, modulus64), _mm_srli_epi64(odd, 31));
  const __m128i r = _mm_or_si128(r_even, _mm_slli_epi64(r_odd, 32));
  const __m128i bias = _mm_set1_epi32(static_cast<int>(0x80000000u));
  const __m128i limit = _mm_set1_epi32(static_cast<int>((kModulus - 1) ^ 0x80000000u));
  const __m128i at_least_m = _mm_cmpgt_epi32(_mm_xor_si128(r, bias), limit);
  return _mm_sub_epi32(r, _mm_and_si128(at_least_m, _mm_set1_epi32(kModulus)));
}

// k * x + a for the four elements of a register, as two rounded operations each.
inline void Map(__m128i x, __m128d k, __m128d a, __m128d* lo, __m128d* hi) {
  *lo = _mm_add_pd(_mm_mul_pd(k, _mm_cvtepi32_pd(x)), a);
  *hi = _mm_add_pd(_mm_mul_pd(k, _mm_cvtepi32_pd(_mm_unpackhi_epi64(x, x))), a);
}

struct IntegerOutput {
  uint32_t* r;
  void One(int i, uint32_t x) const { r[i] = x; }
  void Eight(int i, const Lanes& l) const {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i), l.v[0]);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i + 4), l.v[1]);
  }
};

struct DoubleOutput {
  double* r;
  double k, a;  // k = (b - a) * c
  void One(int i, uint32_t x) const { r[i] = k * static_cast<double>(x) + a; }
  void Eight(int i, const Lanes& l) const {
    const __m128d kk = _mm_set1_pd(k), aa = _mm_set1_pd(a);
    for (int j = 0; j < 2; ++j) {
      __m128d lo, hi;
      Map(l.v[j], kk, aa, &lo, &hi);
      _mm_storeu_pd(r + i + 4 * j, lo);
      _mm_storeu_pd(r + i + 4 * j + 2, hi);
    }
  }
};

// The double formula in double precision, rounded to float only at the end.
struct SingleOutput {
  float* r;
  double k, a;
  void One(int i, uint32_t x) const { r[i] = static_cast<float>(k * static_cast<double>(x) + a); }
  void Eight(int i, const Lanes& l) const {
    const __m128d kk = _mm_set1_pd(k), aa = _mm_set1_pd(a);
    for (int j = 0; j < 2; ++j) {
      __m128d lo, hi;
      Map(l.v[j], kk, aa, &lo, &hi);
      _mm_storeu_ps(r + i + 4 * j, _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi)));
    }
  }
};

// Element 0 is written and the state stepped before the count is looked at, so a count below
// 1 gives one element. Elements 0 to 7 come from the scalar recurrence, then whole blocks of
// eight from the lanes, then the tail from the scalar recurrence again.
template <class Output>
void Generate(State* state, int n, const Output& out) {
  const uint32_t a = state->a;
  uint32_t x = state->x;
  const int count = n < 1 ? 1 : n;
  const int head = count < 8 ? count : 8;
  uint32_t first[8];
  for (int i = 0; i < head; ++i) {
    out.One(i, x);
    first[i] = x;
    x = Reduce2P31M1(static_cast<uint64_t>(a) * x);
  }
  const int blocks_end = count & ~7;
  if (blocks_end > 8) {
    uint32_t a8 = a;
    for (int i = 0; i < 3; ++i) a8 = Reduce2P31M1(static_cast<uint64_t>(a8) * a8);
    const __m128i step = _mm_set1_epi32(static_cast<int>(a8));
    Lanes lanes;
    for (int j = 0; j < 2; ++j)
      lanes.v[j] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 4 * j));
    for (int i = 8; i < blocks_end; i += 8) {
      for (int j = 0; j < 2; ++j) lanes.v[j] = MulMod(lanes.v[j], step);
      out.Eight(i, lanes);
    }
    const uint32_t last = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(lanes.v[1], 12)));
    x = Reduce2P31M1(static_cast<uint64_t>(a) * last);
  }
  for (int i = head > blocks_end ? head : blocks_end; i < count; ++i) {
    out.One(i, x);
    x = Reduce2P31M1(static_cast<uint64_t>(a) * x);
  }
  state->x = x;
}

uint32_t MulModDivide(uint32_t x, uint32_t y) {
  return static_cast<uint32_t>(static_cast<uint64_t>(x) * y % kModulus);
}

}  // namespace

extern "C" {

QOR_API int __rofBRngMCG31M1InitStream(int method, void* stream, int n, const void* params) {
  State* state = static_cast<State*>(stream);
  switch (method) {
    case rofInitStandard: {
      uint32_t seed = n < 1 ? 1 : *static_cast<const uint32_t*>(params) % kModulus;
      state->x = seed == 0 ? 1 : seed;
      state->a = kMultiplier;
      return ROF_STATUS_OK;
    }
    case rofInitLeapfrog: {
      // Stream k of n: x * a^k, then the multiplier a^n; both powers of the entry multiplier.
      const int64_t k = *static_cast<const int32_t*>(params);
      const uint32_t a = state->a;
      state->x = MulModDivide(state->x, __rofiPowMod2P31M1(a, static_cast<uint64_t>(k)));
      state->a = __rofiPowMod2P31M1(a, static_cast<uint64_t>(static_cast<int64_t>(n)));
      return ROF_STATUS_OK;
    }
    case rofInitSkipAhead: {
      const uint64_t nskip = *static_cast<const uint64_t*>(params);
      state->x = MulModDivide(state->x, __rofiPowMod2P31M1(state->a, nskip));
      return ROF_STATUS_OK;
    }
    case rofInitSkipAheadEx:
      return ROF_STATUS_NO_SKIPAHEAD_EX;
    default:
      return ROF_STATUS_BAD_METHOD;
  }
}

QOR_API int __rofiBRngMCG31M1(void* stream, int n, void* r) {
  Generate(static_cast<State*>(stream), n, IntegerOutput{static_cast<uint32_t*>(r)});
  return ROF_STATUS_OK;
}

QOR_API int __rofdBRngMCG31M1(void* stream, int n, double r[], double a, double b) {
  Generate(static_cast<State*>(stream), n, DoubleOutput{r, (b - a) * kScale, a});
  return ROF_STATUS_OK;
}

QOR_API int __rofsBRngMCG31M1(void* stream, int n, float r[], float a, float b) {
  const double da = a, db = b;
  Generate(static_cast<State*>(stream), n, SingleOutput{r, (db - da) * kScale, da});
  return ROF_STATUS_OK;
}

}  // extern "C"
