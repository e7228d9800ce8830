// Creating, copying and deleting stream records. A record is one block: the 16-byte header,
// the generator's payload, and 16 spare bytes that a state copy may run into.
#include <string.h>

#include "qor/core.h"
#include "streams/registry.h"

using rof::kHeaderSize;
using rof::kRecordAlignment;
using rof::kRecordSpare;
using rof::RowOfStream;

namespace {

bool IsAbstractFamily(int brng) {
  return brng == ROF_BRNG_IABSTRACT || brng == ROF_BRNG_DABSTRACT || brng == ROF_BRNG_SABSTRACT;
}

// Allocates the record of `row` into *stream (null on failure) and sets its header.
int AllocateRecord(void** stream, const rofBrngProperties& row, int brng) {
  void* record = qor_serv_allocate(static_cast<size_t>(row.stateSize) + kRecordSpare,
                                   kRecordAlignment);
  *stream = record;
  if (record == nullptr) return ROF_STATUS_NO_MEMORY;
  rofStreamHeader* header = static_cast<rofStreamHeader*>(record);
  header->brng = brng;
  header->reserved = 1;
  header->chunks = nullptr;
  return ROF_STATUS_OK;
}

}  // namespace

extern "C" {

QOR_API int __rofAllocateStream(void** stream, const rofBrngProperties* table, int brng, int row,
                                int subId) {
  const int status = __rofIsBrngValid(table, row, subId);
  if (status != ROF_STATUS_OK) return status;
  return AllocateRecord(stream, table[row], brng);
}

QOR_API int __rofNewStreamEx(void** stream, int brng, int n, const uint32_t params[]) {
  if (IsAbstractFamily(brng)) return ROF_STATUS_BAD_BRNG;
  int row, sub_id;
  const rofBrngProperties* table = __rofGetBrngBaseOffset(brng, &row, &sub_id);
  int status = __rofIsBrngValid(table, row, sub_id);
  if (status != ROF_STATUS_OK) return status;
  // A row whose generator is not built has no functions.
  if (table[row].initStream == nullptr) return ROF_STATUS_BAD_BRNG;
  status = AllocateRecord(stream, table[row], brng);
  if (status != ROF_STATUS_OK) return status;
  // A failing initialisation leaves the record for the caller to delete.
  return table[row].initStream(rofInitStandard, *stream, n, params);
}

QOR_API int __rofDeleteStream(void** stream) {
  __rofDeleteChunks(*stream);
  qor_serv_deallocate(*stream);
  *stream = nullptr;
  return ROF_STATUS_OK;
}

QOR_API int __rofCopyStream(void** newStream, const void* source) {
  const int brng = static_cast<const rofStreamHeader*>(source)->brng;
  int row, sub_id;
  const rofBrngProperties* table = __rofGetBrngBaseOffset(brng, &row, &sub_id);
  int status = __rofIsBrngValid(table, row, sub_id);
  if (status != ROF_STATUS_OK) return status;
  status = AllocateRecord(newStream, table[row], brng);
  if (status != ROF_STATUS_OK) return status;
  const size_t size = static_cast<size_t>(table[row].stateSize);
  qor_serv_memcpy_s(*newStream, size, source, size);
  static_cast<rofStreamHeader*>(*newStream)->chunks = nullptr;
  // A failed chunk copy leaves the new record for the caller to delete.
  return __rofCopyChunks(*newStream, source);
}

QOR_API int __rofCopyStreamState(void* destination, const void* source) {
  if (destination == source) return ROF_STATUS_OK;
  // stateSize bytes from the start of the payload: 16 past its end, into the spare bytes of
  // both records. The destination's generator is not compared with the source's.
  const size_t size = static_cast<size_t>(RowOfStream(source).stateSize);
  qor_serv_memcpy_s(static_cast<char*>(destination) + kHeaderSize, size,
                    static_cast<const char*>(source) + kHeaderSize, size);
  __rofDeleteChunks(destination);
  return __rofCopyChunks(destination, source);
}

}  // extern "C"
