// The search for MT2203 members: twist constants of primitive characteristic polynomial and
// tempering masks of small dimension defect.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/gf2_polynomial.h"

namespace mt2203 {

constexpr int kN = 69, kM = 34;
constexpr uint32_t kUpper = 0xFFFFFFE0u, kLower = 0x0000001Fu;
constexpr int kDegree = 32 * kN - 5;  // 2203 bits of state: 27 of the first word, then 68 words
constexpr int kMembers = 6024;
// The member number in the low half of matrixA keeps members' polynomials apart.
constexpr uint32_t kMemberTag = 0x5C4;
constexpr uint32_t kMaskBFree = 0xFFFFFF80u, kMaskCFree = 0xFFFF8000u;
// The gcd sieve rejects factors up to this degree before the full irreducibility test: about
// 95% of the twists with a characteristic polynomial of full degree (21% pass a depth of 16).
constexpr int kSieveDepth = 64;

// k(v) for v = 1..32 at index v - 1: the largest k such that the top v bits of k successive
// tempered outputs take every value equally often over the period.
using Distribution = std::array<int, 32>;

inline int DistributionBound(int v) { return kDegree / v; }
int Defect(const Distribution& k);

struct Row {
  int member;
  uint32_t matrix_a, mask_b, mask_c;
  Distribution k;
};

uint32_t Temper(uint32_t y, uint32_t mask_b, uint32_t mask_c);

// Untempered words x[0..count) from a state x[0..kN) by
// x[t + N] = x[t + M] ^ (((x[t] & upper) | (x[t + 1] & lower)) >> 1) ^ (odd(x[t + 1]) ? A : 0).
std::vector<uint32_t> Untempered(uint32_t matrix_a, std::vector<uint32_t> state, int count);

// The characteristic polynomial of the twist (degree 2203), or a polynomial of lower degree if
// the recurrence's minimal polynomial is smaller (then the constant is rejected anyway).
gf2::Poly CharacteristicPolynomial(uint32_t matrix_a);
bool IsPrimitive(const gf2::Poly& p);

// k(v) of every v for one twist constant and any masks. Holds the outputs x[1..2203] as linear
// forms in the 2203 state bits (about 20 MB), built once by symbolic simulation.
class Equidistribution {
 public:
  explicit Equidistribution(uint32_t matrix_a);
  // Fills k and returns the defect; stops and returns a value above `give_up` once the defect
  // passes it (k is then incomplete).
  int Measure(uint32_t mask_b, uint32_t mask_c, int give_up, Distribution& k) const;

 private:
  static constexpr int kWords = (kDegree + 63) / 64;
  const uint64_t* Form(int t, int bit) const { return &forms_[(static_cast<size_t>(t) * 32 + bit) * kWords]; }
  std::vector<uint64_t> forms_;
};

// The rows whose values are fixed in advance (members 0 to 3, 6022 and 6023).
std::optional<Row> FixedRow(int member);

// The member's row: its fixed values, or the first primitive constant of its candidate sequence
// with the best masks of `mask_trials` evaluations. Deterministic in the member number.
Row SearchMember(int member, int mask_trials);

}  // namespace mt2203
