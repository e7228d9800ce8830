// The generator registries: the current table of 512 rows with 16 built in, the legacy table of
// 281 rows, identifier decoding and the registration of user generators.
#include "streams/registry.h"

#include <stddef.h>
#include <string.h>

using rof::kBuiltInRows;
using rof::kFirstNewId;
using rof::kLegacyRows;
using rof::kNewRegistryCapacity;
using rof::RowOfStream;

namespace {

static_assert(sizeof(rofBrngProperties) == 56, "a registry row is 56 bytes");
static_assert(offsetof(rofBrngProperties, initStream) == 24, "functions follow six words");
static_assert(sizeof(rofStreamHeader) == 16, "the stream header is 16 bytes");
static_assert(sizeof(rofChunk) == 40, "a chunk node is 40 bytes");

// A row without functions: its generator is not built yet, so no stream of it can be made.
constexpr rofBrngProperties Sizes(int state_size, int seed_count, int includes_zero,
                                  int word_size, int bit_count) {
  return {state_size, seed_count, includes_zero, word_size, bit_count, 0,
          nullptr,    nullptr,    nullptr,       nullptr};
}

constexpr rofBrngProperties kMcg31m1 = {24, 1, 0, 4, 31, 0,
                                        __rofBRngMCG31M1InitStream, __rofsBRngMCG31M1,
                                        __rofdBRngMCG31M1, __rofiBRngMCG31M1};
constexpr rofBrngProperties kR250 = Sizes(1024, 252, 1, 4, 32);
constexpr rofBrngProperties kMrg32k3a = Sizes(40, 6, 1, 4, 32);
constexpr rofBrngProperties kMcg59 = {32, 1, 0, 8, 59, 0,
                                      __rofBRngMCG59InitStream, __rofsBRngMCG59,
                                      __rofdBRngMCG59, __rofiBRngMCG59};
constexpr rofBrngProperties kWh = Sizes(48, 4, 1, 16, 24);
constexpr rofBrngProperties kSobol = Sizes(11712, 2604, 0, 4, 32);
constexpr rofBrngProperties kNiederr = Sizes(84288, 10498, 0, 4, 32);

// Sub-identifier counts of the rows of __RegBrngsNew; a registered row has one.
int g_sub_id_counts[kNewRegistryCapacity] = {1, 1, 1, 1, 273, 1, 1, 1, 6024, 1, 1, 1, 1, 1, 1, 1};
int g_row_count = kBuiltInRows;

}  // namespace

// 273 copies of the WH row: 3 * 7 * 13.
#define QOR_TIMES3(...) __VA_ARGS__, __VA_ARGS__, __VA_ARGS__
#define QOR_TIMES7(...) QOR_TIMES3(__VA_ARGS__), QOR_TIMES3(__VA_ARGS__), __VA_ARGS__
#define QOR_TIMES13(...) QOR_TIMES3(QOR_TIMES3(__VA_ARGS__)), QOR_TIMES3(__VA_ARGS__), __VA_ARGS__

extern "C" {

QOR_API rofBrngProperties __RegBrngsNew[kNewRegistryCapacity] = {
    kMcg31m1,
    kR250,
    kMrg32k3a,
    kMcg59,
    kWh,
    kSobol,
    kNiederr,
    {2520, 625, 1, 4, 32, 0, __rofBRngMT19937InitStream, __rofsBRngMT19937, __rofdBRngMT19937,
     __rofiBRngMT19937},
    {312, 70, 1, 4, 32, 0, __rofBRngMT2203InitStream, __rofsBRngMT2203, __rofdBRngMT2203,
     __rofiBRngMT2203},
    Sizes(48, 0, 1, 4, 32),       // iAbstract
    Sizes(64, 0, 1, 4, 32),       // dAbstract
    Sizes(56, 0, 1, 4, 32),       // sAbstract
    Sizes(2536, 625, 1, 4, 32),   // SFMT19937
    Sizes(24, 1, 1, 4, 32),       // TRNG
    Sizes(72, 8, 1, 4, 32),       // ARS5
    Sizes(64, 8, 1, 4, 32),       // PHILOX4X32X10
};

// Legacy identifiers 0 to 280: MCG31M1, R250, MRG32K3A, MCG59, 273 WH sets, Sobol,
// Niederreiter and two zero rows.
QOR_API rofBrngProperties __RegBrngs[kLegacyRows] = {
    kMcg31m1, kR250, kMrg32k3a, kMcg59, QOR_TIMES13(QOR_TIMES7(QOR_TIMES3(kWh))), kSobol, kNiederr,
};

QOR_API rofBrngProperties* __rofGetBrngBaseOffset(int brng, int* row, int* subId) {
  if (brng >= kFirstNewId) {
    *row = (brng >> 20) - 1;
    *subId = brng & 0xFFFFF;
    return __RegBrngsNew;
  }
  constexpr int kFirstWh = 4, kLastWh = 276;
  if (brng >= kFirstWh && brng <= kLastWh) {
    *row = kFirstWh;
    *subId = brng - kFirstWh;
  } else {
    *row = brng;
    *subId = 0;
  }
  return __RegBrngs;
}

QOR_API int __rofIsBrngValid(const rofBrngProperties* table, int row, int subId) {
  if (table == __RegBrngs) return row < kLegacyRows ? ROF_STATUS_OK : ROF_STATUS_BAD_BRNG;
  if (row >= g_row_count) return ROF_STATUS_BAD_BRNG;
  return subId < g_sub_id_counts[row] ? ROF_STATUS_OK : ROF_STATUS_BAD_BRNG;
}

QOR_API int __rofGetBrngProperties(int brng, rofBrngProperties* properties) {
  int row, sub_id;
  const rofBrngProperties* table = __rofGetBrngBaseOffset(brng, &row, &sub_id);
  const int status = __rofIsBrngValid(table, row, sub_id);
  if (status != ROF_STATUS_OK) return status;
  memcpy(properties, &table[row], sizeof *properties);
  return ROF_STATUS_OK;
}

QOR_API int __rofGetNumRegBrngs(void) { return g_row_count; }

// No test against the capacity: registration past 512 rows is the caller's fault.
QOR_API int __rofRegisterBrng(const rofBrngProperties* properties) {
  if (properties->stateSize < 0) return ROF_STATUS_BAD_STATE_SIZE;
  const int word_size = properties->wordSize;
  if (word_size != 4 && word_size != 8 && word_size != 16) return ROF_STATUS_BAD_WORD_SIZE;
  if (properties->seedCount < 1) return ROF_STATUS_BAD_SEED_COUNT;
  if (properties->bitCount < 1) return ROF_STATUS_BAD_BIT_COUNT;
  if (properties->dBrng == nullptr || properties->sBrng == nullptr ||
      properties->iBrng == nullptr || properties->initStream == nullptr)
    return ROF_STATUS_NULL_POINTER;
  const int row = g_row_count;
  memcpy(&__RegBrngsNew[row], properties, sizeof *properties);
  g_sub_id_counts[row] = 1;
  g_row_count = row + 1;
  return (row << 20) + kFirstNewId;
}

QOR_API int __rofGetStreamStateBrng(const void* stream) {
  return static_cast<const rofStreamHeader*>(stream)->brng;
}

QOR_API int __rofGetStreamSize(const void* stream) {
  // Image header (24 bytes) and payload (stateSize - 16), then per chunk its record
  // (id, key, size: 24 bytes) and its data.
  int size = RowOfStream(stream).stateSize + 8;
  for (const rofChunk* chunk = static_cast<const rofStreamHeader*>(stream)->chunks;
       chunk != nullptr; chunk = chunk->next)
    size += chunk->size + 24;
  return size;
}

}  // extern "C"

namespace rof {

const rofBrngProperties& RowOfStream(const void* stream) {
  int row, sub_id;
  const int brng = static_cast<const rofStreamHeader*>(stream)->brng;
  return __rofGetBrngBaseOffset(brng, &row, &sub_id)[row];
}

}  // namespace rof
