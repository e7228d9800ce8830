// MCG59: x' = a * x mod 2^59, a = 13^13. The main loop writes blocks of sixteen from the
// powers a^1..a^8 and a^16, whose products are independent and so overlap; products wrap in
// 64 bits, which leaves the low 59 bits exact.
#include <emmintrin.h>

#include "streams/modular_power.h"
#include "streams/registry.h"

using rof::kMask59;

namespace {

constexpr uint64_t kMultiplier = 302875106592253ull;  // 13^13
constexpr double kScale = 0x1p-59;

struct State {
  rofStreamHeader header;
  uint64_t x;  // the next output, below 2^59
  uint64_t a;  // the multiplier in force; leapfrog changes it
};
static_assert(sizeof(State) == 32, "MCG59 record size");

// Each output writes one element or a block of eight.
struct IntegerOutput {
  uint64_t* r;
  void One(int i, uint64_t x) const { r[i] = x; }
  void Eight(int i, const uint64_t y[8]) const {
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) r[i + j] = y[j];
  }
};

// Two values below 2^59 converted to double with one rounding, as the signed 64-bit
// conversion does: (2^84 + hi * 2^32) - (2^84 + 2^52) is exact, and adding 2^52 + lo rounds
// once.
inline __m128d ToDouble(__m128i x) {
  const __m128i low = _mm_or_si128(_mm_and_si128(x, _mm_set1_epi64x(0xFFFFFFFF)),
                                   _mm_set1_epi64x(0x4330000000000000));  // 2^52 + lo
  const __m128i high = _mm_or_si128(_mm_srli_epi64(x, 32),
                                    _mm_set1_epi64x(0x4530000000000000));  // 2^84 + hi 2^32
  const __m128d high_part = _mm_sub_pd(_mm_castsi128_pd(high), _mm_set1_pd(0x1.00000001p+84));
  return _mm_add_pd(high_part, _mm_castsi128_pd(low));
}

// x converted as a signed 64-bit integer, then k * x + a as two rounded operations.
struct DoubleOutput {
  double* r;
  double k, a;
  void One(int i, uint64_t x) const {
    r[i] = k * static_cast<double>(static_cast<int64_t>(x)) + a;
  }
  void Eight(int i, const uint64_t y[8]) const {
    const __m128d kk = _mm_set1_pd(k), aa = _mm_set1_pd(a);
#pragma GCC unroll 4
    for (int j = 0; j < 8; j += 2) {
      const __m128d x = ToDouble(_mm_set_epi64x(static_cast<int64_t>(y[j + 1]),
                                                static_cast<int64_t>(y[j])));
      _mm_storeu_pd(r + i + j, _mm_add_pd(_mm_mul_pd(kk, x), aa));
    }
  }
};

// All in float: x converted straight to float, k rounded from its double value.
struct SingleOutput {
  float* r;
  float k, a;
  void One(int i, uint64_t x) const {
    r[i] = static_cast<float>(static_cast<int64_t>(x)) * k + a;
  }
  void Eight(int i, const uint64_t y[8]) const {
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) One(i + j, y[j]);
  }
};

// A count below 1 writes nothing and leaves the state.
template <class Output>
void Generate(State* state, int n, const Output& out) {
  if (n < 1) return;
  const uint64_t a = state->a;
  uint64_t x = state->x;
  uint64_t power[9];  // a^0 .. a^8, wrapping in 64 bits
  power[0] = 1;
  for (int j = 1; j <= 8; ++j) power[j] = power[j - 1] * a;
  const uint64_t a8 = power[8], a16 = a8 * a8;
  int i = 0;
  uint64_t y[8];
  for (const int end = n & ~15; i < end; i += 16) {
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) y[j] = (power[j] * x) & kMask59;
    out.Eight(i, y);
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) y[j] = (a8 * y[j]) & kMask59;
    out.Eight(i + 8, y);
    x = (a16 * x) & kMask59;
  }
  if (n - i >= 8) {
#pragma GCC unroll 8
    for (int j = 0; j < 8; ++j) y[j] = (power[j] * x) & kMask59;
    out.Eight(i, y);
    x = (a8 * x) & kMask59;
    i += 8;
  }
  for (; i < n; ++i) {
    out.One(i, x);
    x = (a * x) & kMask59;
  }
  state->x = x;
}

}  // namespace

extern "C" {

QOR_API int __rofBRngMCG59InitStream(int method, void* stream, int n, const void* params) {
  State* state = static_cast<State*>(stream);
  switch (method) {
    case rofInitStandard: {
      // One word is zero-extended; two or more give a little-endian 64-bit seed cut to 59 bits.
      const uint32_t* seed = static_cast<const uint32_t*>(params);
      uint64_t x = 1;
      if (n == 1) x = seed[0];
      if (n >= 2) x = (seed[0] | static_cast<uint64_t>(seed[1]) << 32) & kMask59;
      state->x = x == 0 ? 1 : x;
      state->a = kMultiplier;
      return ROF_STATUS_OK;
    }
    case rofInitLeapfrog: {
      const int64_t k = *static_cast<const int32_t*>(params);
      const uint64_t a = state->a;
      state->x = (state->x * __rofiPowMod2P59(a, static_cast<uint64_t>(k))) & kMask59;
      state->a = __rofiPowMod2P59(a, static_cast<uint64_t>(static_cast<int64_t>(n)));
      return ROF_STATUS_OK;
    }
    case rofInitSkipAhead: {
      const uint64_t nskip = *static_cast<const uint64_t*>(params);
      state->x = (state->x * __rofiPowMod2P59(state->a, nskip)) & kMask59;
      return ROF_STATUS_OK;
    }
    case rofInitSkipAheadEx:
      return ROF_STATUS_NO_SKIPAHEAD_EX;
    default:
      return ROF_STATUS_BAD_METHOD;
  }
}

QOR_API int __rofiBRngMCG59(void* stream, int n, void* r) {
  Generate(static_cast<State*>(stream), n, IntegerOutput{static_cast<uint64_t*>(r)});
  return ROF_STATUS_OK;
}

QOR_API int __rofdBRngMCG59(void* stream, int n, double r[], double a, double b) {
  Generate(static_cast<State*>(stream), n, DoubleOutput{r, (b - a) * kScale, a});
  return ROF_STATUS_OK;
}

QOR_API int __rofsBRngMCG59(void* stream, int n, float r[], float a, float b) {
  const float k = static_cast<float>((static_cast<double>(b) - static_cast<double>(a)) * kScale);
  Generate(static_cast<State*>(stream), n, SingleOutput{r, k, a});
  return ROF_STATUS_OK;
}

}  // extern "C"
