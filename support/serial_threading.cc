// The serial threading table: one thread, bodies in index order.
#include "support/threading_tables.h"

namespace {

int SerialFor(int64_t total, int64_t blocks, void* args, qorThreadBody body) {
  for (int64_t i = 0; i < blocks; ++i) body(i, blocks, total, args);
  return 0;
}

int OneThread(int64_t, int64_t, int64_t, int64_t) { return 1; }

constexpr qorThreading kSerial = {SerialFor, {nullptr, nullptr, nullptr}, OneThread};

}  // namespace

extern "C" const qorThreading* qor_support_serial_threading(void) { return &kSerial; }
