// Internals of the generator registries shared by the stream operations.
#ifndef QOR_STREAMS_REGISTRY_H_
#define QOR_STREAMS_REGISTRY_H_

#include "qor/rof.h"

namespace rof {

constexpr int kNewRegistryCapacity = 512;
constexpr int kBuiltInRows = 16;
constexpr int kLegacyRows = 281;
// Identifiers from this value on are ((row + 1) << 20) | subId; below it they are legacy.
constexpr int kFirstNewId = 0x100000;

// A stream record is allocated with this many bytes beyond its stateSize: copying a state
// moves stateSize bytes from the start of the payload, which ends 16 bytes before that.
constexpr int kRecordSpare = 16;
constexpr int kRecordAlignment = 128;
constexpr int kHeaderSize = static_cast<int>(sizeof(rofStreamHeader));

// The row of a stream's generator, found from its identifier without a validity test.
const rofBrngProperties& RowOfStream(const void* stream);

}  // namespace rof

#endif  // QOR_STREAMS_REGISTRY_H_
