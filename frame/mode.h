// The mode word: the QOR_TEM_MODE grammar, seeding and field-wise replacement.
#ifndef QOR_FRAME_MODE_H_
#define QOR_FRAME_MODE_H_

#include <stdint.h>

namespace tem {

struct temOption {
  const char* Name;  // the word behind the TEM_ prefix
  int32_t Length;
  uint64_t Value;
};

inline constexpr int kOptionCount = 18;
extern const temOption temOptionTable[kOptionCount];

// The OR of the words of QOR_TEM_MODE, or all ones when the variable is absent or any part of
// it is malformed.
uint64_t temParseEnvMode();

// The mode word a thread starts with, from what temParseEnvMode returned.
uint32_t SeedMode(uint64_t parsed);

// `old` with each field that `requested` sets replaced, in the fixed field order.
uint32_t ReplaceModeFields(uint32_t old, uint32_t requested);

}  // namespace tem

#endif  // QOR_FRAME_MODE_H_
