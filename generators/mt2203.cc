// MT2203: a family of twisters of period 2^2203 - 1, one member per sub-identifier, each with
// its own twist constant and tempering masks.
#include "generators/mersenne_twister.h"
#include "streams/registry.h"

namespace {

struct Mt2203Row {
  uint32_t member, matrix_a, mask_b, mask_c;
};

#include "generators/mt2203_parameters.inc"

struct Mt2203 {
  static constexpr int kN = 69, kM = 34, kTemperShift = 12;
  static constexpr uint32_t kUpper = 0xFFFFFFE0u;
  struct State {
    rofStreamHeader header;
    uint32_t mt[kN];
    int32_t position;  // next word to temper; kN when the block is spent
    uint32_t matrix_a, mask_b, mask_c;
    int32_t pad;
  };
  static rof::twister::Parameters Parameters(const State& s) {
    return {s.matrix_a, s.mask_b, s.mask_c};
  }
};
using State = Mt2203::State;
static_assert(sizeof(State) == 312, "MT2203 record size");

// The row of a member by bisection; null for a member the table lacks.
const Mt2203Row* FindMember(uint32_t member) {
  int lo = 0, hi = static_cast<int>(sizeof kMt2203Rows / sizeof kMt2203Rows[0]);
  while (lo < hi) {
    const int mid = (lo + hi) / 2;
    if (kMt2203Rows[mid].member < member)
      lo = mid + 1;
    else
      hi = mid;
  }
  const int count = static_cast<int>(sizeof kMt2203Rows / sizeof kMt2203Rows[0]);
  return lo < count && kMt2203Rows[lo].member == member ? &kMt2203Rows[lo] : nullptr;
}

}  // namespace

extern "C" {

// A member without parameters in the table is refused as an unknown sub-identifier.
QOR_API int __rofBRngMT2203InitStream(int method, void* stream, int n, const void* params) {
  State* s = static_cast<State*>(stream);
  switch (method) {
    case rofInitStandard: {
      const Mt2203Row* row = FindMember(static_cast<uint32_t>(s->header.brng) & 0xFFFFF);
      if (row == nullptr) return ROF_STATUS_BAD_BRNG;
      rof::twister::Seed<Mt2203::kN>(s->mt, n, static_cast<const uint32_t*>(params));
      s->position = Mt2203::kN;
      s->matrix_a = row->matrix_a;
      s->mask_b = row->mask_b;
      s->mask_c = row->mask_c;
      return ROF_STATUS_OK;
    }
    case rofInitLeapfrog:
      return ROF_STATUS_NO_LEAPFROG;
    case rofInitSkipAhead:
      return ROF_STATUS_NO_SKIPAHEAD;
    case rofInitSkipAheadEx:
      return ROF_STATUS_NO_SKIPAHEAD_EX;
    default:
      return ROF_STATUS_BAD_METHOD;
  }
}

QOR_API int __rofiBRngMT2203(void* stream, int n, void* r) {
  return rof::twister::Integers<Mt2203>(stream, n, r);
}

QOR_API int __rofdBRngMT2203(void* stream, int n, double r[], double a, double b) {
  return rof::twister::Doubles<Mt2203>(stream, n, r, a, b);
}

// b - a is formed in single precision and only then widened.
QOR_API int __rofsBRngMT2203(void* stream, int n, float r[], float a, float b) {
  return rof::twister::Singles<Mt2203>(stream, n, r, static_cast<double>(b - a), a);
}

}  // extern "C"
