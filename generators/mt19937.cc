// MT19937: the Mersenne twister of period 2^19937 - 1, with skip-ahead by direct stepping for
// short distances and by the characteristic polynomial beyond.
#include "generators/mt19937.h"

#include <string.h>

#include "generators/mersenne_twister.h"
#include "streams/registry.h"

namespace {

#include "generators/mt19937_polynomial.inc"

struct Mt19937 {
  static constexpr int kN = 624, kM = 397, kTemperShift = 11;
  static constexpr uint32_t kUpper = 0x80000000u;
  struct State {
    rofStreamHeader header;
    uint32_t mt[kN];
    int32_t position;  // next word to temper; kN when the block is spent
    int32_t pad;
  };
  static rof::twister::Parameters Parameters(const State&) {
    return {0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u};
  }
};
using State = Mt19937::State;
constexpr int kN = Mt19937::kN;
static_assert(sizeof(State) == 2520, "MT19937 record size");

// Below this distance the stream is stepped block by block; from it on, it jumps.
constexpr uint64_t kJumpThreshold = 0x100000;

// Plain stepping: the state a run over nskip words leaves, lazy twist included.
void Step(State* s, uint64_t nskip) {
  const uint32_t a = Mt19937::Parameters(*s).matrix_a;
  while (nskip > 0) {
    if (s->position >= kN) {
      rof::twister::Twist<Mt19937>(s->mt, a);
      s->position = 0;
    }
    const uint64_t room = static_cast<uint64_t>(kN - s->position);
    const uint64_t take = nskip < room ? nskip : room;
    s->position += static_cast<int32_t>(take);
    nskip -= take;
  }
}

// The jump works on records whose mt is a circular buffer: `position` (kN counting as 0) is
// the oldest word, the next one that a step replaces.
int Oldest(const State* s) { return s->position >= kN ? 0 : s->position; }

void JumpZero(void* state) {
  State* s = static_cast<State*>(state);
  memset(s->mt, 0, sizeof s->mt);
  s->position = 0;
}

void JumpAdd(void* accumulator, const void* state, int) {
  State* acc = static_cast<State*>(accumulator);
  const State* s = static_cast<const State*>(state);
  const int pa = Oldest(acc), ps = Oldest(s);
  for (int k = 0; k < kN; ++k) acc->mt[(pa + k) % kN] ^= s->mt[(ps + k) % kN];
}

void JumpCopy(void* destination, const void* source, int) {
  State* d = static_cast<State*>(destination);
  const State* s = static_cast<const State*>(source);
  memcpy(d->mt, s->mt, sizeof d->mt);
  d->position = s->position;
}

void JumpStep(void* state) {
  State* s = static_cast<State*>(state);
  const int i = Oldest(s);
  s->mt[i] = rof::twister::TwistWord<Mt19937>(s->mt, i, Mt19937::Parameters(*s).matrix_a);
  s->position = i + 1 == kN ? 0 : i + 1;
}

// The accumulator unrolled oldest first: a spent block whose next twist continues it.
void JumpFinish(void* stream, const void* accumulator, int) {
  State* s = static_cast<State*>(stream);
  const State* acc = static_cast<const State*>(accumulator);
  const int pa = Oldest(acc);
  for (int k = 0; k < kN; ++k) s->mt[k] = acc->mt[(pa + k) % kN];
  s->position = kN;
}

// Spends the rest of the current block; the jump then starts from a spent block.
int JumpPrepare(void* stream, rofSkipAheadDesc* desc, int* flag) {
  State* s = static_cast<State*>(stream);
  *flag = 0;
  const uint64_t position = static_cast<uint64_t>(s->position);
  if (desc->nskip + position <= kN) {
    s->position += static_cast<int32_t>(desc->nskip);
    return 0;
  }
  desc->nskip = position + desc->nskip - kN;
  s->position = kN;
  return 1;
}

// The polynomial of degree 19937 and its 135 terms; the remainder takes 624 words.
rofSkipAheadDesc Descriptor(uint64_t nskip) {
  return {nskip, 624, 19937, static_cast<int32_t>(sizeof(State)), 135, kMt19937Polynomial};
}

int SkipAhead(State* s, uint64_t nskip) {
  if (nskip < kJumpThreshold) {
    Step(s, nskip);
    return ROF_STATUS_OK;
  }
  rofSkipAheadDesc desc = Descriptor(nskip);
  return __rof_SkipAheadSWin(s, JumpZero, JumpAdd, JumpCopy, JumpStep, JumpFinish, JumpPrepare,
                             &desc);
}

}  // namespace

namespace rof {

// The jump functions and polynomial of MT19937, for tests that compare the two jump methods.
Mt19937Jumps Mt19937JumpFunctions() {
  return {JumpZero, JumpAdd, JumpCopy, JumpStep, JumpFinish, JumpPrepare, Descriptor(0)};
}

}  // namespace rof

extern "C" {

QOR_API int __rofBRngMT19937InitStream(int method, void* stream, int n, const void* params) {
  State* s = static_cast<State*>(stream);
  switch (method) {
    case rofInitStandard:
      rof::twister::Seed<kN>(s->mt, n, static_cast<const uint32_t*>(params));
      s->position = kN;
      return ROF_STATUS_OK;
    case rofInitLeapfrog:
      return ROF_STATUS_NO_LEAPFROG;
    case rofInitSkipAhead:
      return SkipAhead(s, *static_cast<const uint64_t*>(params));
    case rofInitSkipAheadEx:
      return ROF_STATUS_NO_SKIPAHEAD_EX;
    default:
      return ROF_STATUS_BAD_METHOD;
  }
}

QOR_API int __rofiBRngMT19937(void* stream, int n, void* r) {
  return rof::twister::Integers<Mt19937>(stream, n, r);
}

QOR_API int __rofdBRngMT19937(void* stream, int n, double r[], double a, double b) {
  return rof::twister::Doubles<Mt19937>(stream, n, r, a, b);
}

// a and b are widened first: the factor is formed from their difference in double.
QOR_API int __rofsBRngMT19937(void* stream, int n, float r[], float a, float b) {
  const double da = a, db = b;
  return rof::twister::Singles<Mt19937>(stream, n, r, db - da, da);
}

}  // extern "C"
