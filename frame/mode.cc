// The mode word of the calling thread and the QOR_TEM_MODE grammar that seeds it.
#include "frame/mode.h"

#include <string.h>

#include "frame/thread_state.h"
#include "qor/core.h"

namespace tem {

namespace {

constexpr uint64_t kNoMode = ~0ull;
constexpr int kBufferSize = 256;
// A word's name must end before this offset of the buffer.
constexpr int kLastNameEnd = 255;
constexpr char kPrefix[] = "TEM_";
constexpr int kPrefixLength = 4;

int g_environment_lock = 0;

}  // namespace

// Searched in this order, the first equal row wins. DOUBLE_CONSISTEN is one letter short of
// its neighbour's pattern, and so is the word that is accepted.
const temOption temOptionTable[kOptionCount] = {
    {"LA", 2, 0x1},
    {"HA", 2, 0x2},
    {"EP", 2, 0x3},
    {"DEFAULT_PRECISION", 17, 0x0},
    {"FLOAT_CONSISTENT", 16, 0x10},
    {"DOUBLE_CONSISTEN", 16, 0x20},
    {"RESTORE", 7, 0x30},
    {"ERRMODE_IGNORE", 14, 0x100},
    {"ERRMODE_ERRNO", 13, 0x200},
    {"ERRMODE_STDERR", 14, 0x400},
    {"ERRMODE_EXCEPT", 14, 0x800},
    {"ERRMODE_CALLBACK", 16, 0x1000},
    {"ERRMODE_NOERR", 13, 0x2000},
    {"ERRMODE_DEFAULT", 15, 0x1A00},
    {"TRAP_INVALID", 12, 0x1000000},
    {"TRAP_DIVBYZERO", 14, 0x2000000},
    {"TRAP_OVERFLOW", 13, 0x4000000},
    {"TRAP_UNDERFLOW", 14, 0x8000000},
};

uint64_t temParseEnvMode() {
  char buffer[kBufferSize] = {};
  qor_serv_lock(&g_environment_lock);
  int length = qor_serv_getenv("QOR_TEM_MODE", buffer, kBufferSize);
  qor_serv_unlock(&g_environment_lock);
  if (length <= 0 || buffer[0] != kPrefix[0]) return kNoMode;

  uint64_t accumulated = 0;
  int position = 0;
  for (;;) {
    // The first letter of the prefix is already known to be there. Byte by byte, so that the
    // comparison stops at the terminator and never reads past the buffer.
    for (int i = 1; i < kPrefixLength; ++i) {
      if (buffer[position + i] != kPrefix[i]) return kNoMode;
    }
    const temOption* match = nullptr;
    for (const temOption& row : temOptionTable) {
      if (position + kPrefixLength + row.Length > kLastNameEnd) continue;
      if (memcmp(buffer + position + kPrefixLength, row.Name, row.Length) == 0) {
        match = &row;
        break;
      }
    }
    if (match == nullptr) return kNoMode;
    position += kPrefixLength + match->Length;
    if (buffer[position] == '\0') return accumulated | match->Value;
    if (buffer[position] != ',') return kNoMode;
    accumulated |= match->Value;
    ++position;
    if (buffer[position] != kPrefix[0]) return kNoMode;
  }
}

uint32_t SeedMode(uint64_t parsed) {
  if (parsed == kNoMode) return TEM_MODE_DEFAULT;
  uint32_t word = static_cast<uint32_t>(parsed);
  if ((word & 0xF) == 0) word |= TEM_HA;
  if ((word & 0xFF00) == 0) word |= TEM_ERRMODE_DEFAULT;
  return word;
}

uint32_t ReplaceModeFields(uint32_t old, uint32_t requested) {
  // Accuracy, error mode, denormal control, traps, and the stored two-bit field. The
  // consistency bits 0xF0 are never taken from a request.
  static constexpr uint32_t kFieldMasks[] = {0xF, 0xFF00, 0x3C0000, 0xF000000, 0x30000};
  uint32_t word = old;
  for (uint32_t mask : kFieldMasks) {
    if ((requested & mask) != 0) word = (word & ~mask) | (requested & mask);
  }
  return word;
}

uint32_t temGetMode() {
  temThreadState* state = temGetThreadState();
  if (state->Mode == 0) state->Mode = SeedMode(temParseEnvMode());
  return state->Mode;
}

}  // namespace tem
