// The request of a basic-estimates call: which task fields the asked estimates need, in the
// order of the requirement bits, and what the workers must accumulate.
#ifndef QOR_STATISTICS_BASIC_REQUEST_H_
#define QOR_STATISTICS_BASIC_REQUEST_H_

#include <stdint.h>

#include "statistics/task.h"

namespace rof {
namespace ss {

// Requirement bits: one task field each, plus "no route in this method".
enum Need : uint32_t {
  kNeedMean = 1u << 0,
  kNeedRawMom2 = 1u << 1,  // 3 and 4 follow
  kNeedCenMom2 = 1u << 4,  // 3 and 4 follow
  kNeedCov = 1u << 7,
  kNeedCor = 1u << 8,
  kNeedKurtosis = 1u << 9,
  kNeedSkewness = 1u << 10,
  kNeedVariation = 1u << 11,
  kNeedSum = 1u << 12,
  kNeedRawSum2 = 1u << 13,  // 3 and 4 follow
  kNeedCenSum2 = 1u << 16,  // 3 and 4 follow
  kNeedCrossProduct = 1u << 19,
  kNeedNoRoute = 1u << 20,
};

// The column of the requirement table a method reads.
enum class Column { kOnePass, kFast, kDerivation };

// Fields that the asked estimates need in the task, or kNeedNoRoute among them.
uint32_t RequiredFields(uint64_t estimates, Column column);

// The status of the first required field that the task lacks, in requirement-bit order;
// 0 when all are there.
int MissingFieldStatus(const rofSSTask& task, uint32_t required);

// Highest central order that the required fields ask of the workers (0, 2, 3 or 4), the
// raw orders and whether a cross-product matrix is wanted.
int CentralOrder(uint32_t required);
// Highest raw order the workers keep: 0, 2, or 4 for a third or fourth power.
inline int RawOrder(uint32_t required) {
  if (required & (6u * kNeedRawMom2 | 6u * kNeedRawSum2)) return 4;
  return (required & (kNeedRawMom2 | kNeedRawSum2)) != 0 ? 2 : 0;
}
inline bool WantsMatrix(uint32_t required) {
  return (required & (kNeedCov | kNeedCor | kNeedCrossProduct)) != 0;
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_BASIC_REQUEST_H_
