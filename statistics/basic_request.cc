// Requirement tables of the basic estimates: each estimate bit asks for the fields of its row.
#include "statistics/basic_request.h"

namespace rof {
namespace ss {
namespace {

struct Row {
  uint64_t estimate;
  uint32_t one_pass;    // one-pass and user-mean methods
  uint32_t fast;        // fast two-pass method
  uint32_t derivation;  // derivations from sums and cross-products
};

constexpr Row kRows[] = {
    {ROF_SS_MEAN, 0x1, 0x1, 0x1001},
    {ROF_SS_RAW_MOM2, 0x2, 0x2, 0x2002},
    {ROF_SS_RAW_MOM3, 0x4, 0x4, 0x4004},
    {ROF_SS_RAW_MOM4, 0x8, 0x8, 0x8008},
    {ROF_SS_CEN_MOM2, 0x13, 0x13, 0x10010},
    {ROF_SS_CEN_MOM3, 0x27, 0x27, 0x20020},
    {ROF_SS_CEN_MOM4, 0x4F, 0x4F, 0x40040},
    {ROF_SS_COV, 0x81, 0x81, 0x80080},
    {ROF_SS_COR, 0x101, 0x101, 0x80100},
    {ROF_SS_KURTOSIS, 0x25F, 0x25F, 0x251},
    {ROF_SS_SKEWNESS, 0x437, 0x437, 0x431},
    {ROF_SS_VARIATION, 0x813, 0x813, 0x811},
    {ROF_SS_SUM, 0x1000, 0x1000, kNeedNoRoute},
    {ROF_SS_RAW_SUM2, 0x2000, 0x2000, kNeedNoRoute},
    {ROF_SS_RAW_SUM3, 0x4000, 0x4000, kNeedNoRoute},
    {ROF_SS_RAW_SUM4, 0x8000, 0x8000, kNeedNoRoute},
    {ROF_SS_CEN_SUM2, 0x10001, 0x10003, kNeedNoRoute},
    {ROF_SS_CEN_SUM3, 0x20001, 0x20007, kNeedNoRoute},
    {ROF_SS_CEN_SUM4, 0x40001, 0x4000F, kNeedNoRoute},
    {ROF_SS_CROSS_PRODUCT, 0x80001, 0x80001, kNeedNoRoute},
};

// Requirement bit i: the field it names and the status when that field is null.
struct Field {
  void* rofSSTask::*member;
  int status;
};

constexpr Field kFields[] = {
    {&rofSSTask::mean, ROF_SS_NO_MEAN},
    {&rofSSTask::rawMom2, ROF_SS_NO_RAW_MOM2},
    {&rofSSTask::rawMom3, ROF_SS_NO_RAW_MOM3},
    {&rofSSTask::rawMom4, ROF_SS_NO_RAW_MOM4},
    {&rofSSTask::cenMom2, ROF_SS_NO_CEN_MOM2},
    {&rofSSTask::cenMom3, ROF_SS_NO_CEN_MOM3},
    {&rofSSTask::cenMom4, ROF_SS_NO_CEN_MOM4},
    {&rofSSTask::cov, ROF_SS_NO_COV},
    {&rofSSTask::cor, ROF_SS_NO_COR},
    {&rofSSTask::kurtosis, ROF_SS_NO_KURTOSIS},
    {&rofSSTask::skewness, ROF_SS_NO_SKEWNESS},
    {&rofSSTask::variation, ROF_SS_NO_VARIATION},
    {&rofSSTask::sum, ROF_SS_NO_SUM},
    {&rofSSTask::rawSum2, ROF_SS_NO_RAW_SUM2},
    {&rofSSTask::rawSum3, ROF_SS_NO_RAW_SUM3},
    {&rofSSTask::rawSum4, ROF_SS_NO_RAW_SUM4},
    {&rofSSTask::cenSum2, ROF_SS_NO_CEN_SUM2},
    {&rofSSTask::cenSum3, ROF_SS_NO_CEN_SUM3},
    {&rofSSTask::cenSum4, ROF_SS_NO_CEN_SUM4},
    {&rofSSTask::crossProduct, ROF_SS_NO_CROSS_PRODUCT},
};

}  // namespace

uint32_t RequiredFields(uint64_t estimates, Column column) {
  uint32_t required = 0;
  for (const Row& row : kRows) {
    if ((estimates & row.estimate) == 0) continue;
    required |= column == Column::kOnePass ? row.one_pass
                : column == Column::kFast  ? row.fast
                                           : row.derivation;
  }
  return required;
}

int MissingFieldStatus(const rofSSTask& task, uint32_t required) {
  for (int bit = 0; bit < static_cast<int>(sizeof kFields / sizeof kFields[0]); ++bit)
    if ((required >> bit & 1) != 0 && task.*kFields[bit].member == nullptr)
      return kFields[bit].status;
  return (required & kNeedNoRoute) != 0 ? ROF_SS_BAD_METHOD : ROF_SS_OK;
}

int CentralOrder(uint32_t required) {
  if (required & (kNeedCenMom2 << 2 | kNeedCenSum2 << 2 | kNeedKurtosis)) return 4;
  if (required & (kNeedCenMom2 << 1 | kNeedCenSum2 << 1 | kNeedSkewness)) return 3;
  if (required & (kNeedCenMom2 | kNeedCenSum2 | kNeedVariation)) return 2;
  return 0;
}

}  // namespace ss
}  // namespace rof
