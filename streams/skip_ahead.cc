// Leapfrog and skip-ahead of a stream: each goes to its generator's initStream.
#include "streams/registry.h"

using rof::RowOfStream;

extern "C" {

QOR_API int __rofLeapfrogStream(void* stream, int k, int nstreams) {
  if (nstreams < 0) return ROF_STATUS_BAD_STREAM_COUNT;
  return RowOfStream(stream).initStream(rofInitLeapfrog, stream, nstreams, &k);
}

QOR_API int __rofSkipAheadStream(void* stream, long long nskip) {
  return RowOfStream(stream).initStream(rofInitSkipAhead, stream, 2, &nskip);
}

QOR_API int __rofSkipAheadStreamEx(void* stream, int n, const uint64_t nskip[]) {
  return RowOfStream(stream).initStream(rofInitSkipAheadEx, stream, n, nskip);
}

}  // extern "C"
