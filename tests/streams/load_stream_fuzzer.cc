// libFuzzer target of the file loader: a stream or none, never a crash or a leak.
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include "qor/rof.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int fd = memfd_create("saved_stream", 0);
  static char name[64];
  if (name[0] == '\0') snprintf(name, sizeof name, "/proc/self/fd/%d", fd);
  if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) abort();
  void* stream = nullptr;
  const int status = __rofLoadStreamF(&stream, name, -1);
  if ((status == ROF_STATUS_OK) != (stream != nullptr)) abort();
  if (stream != nullptr) __rofDeleteStream(&stream);
  return 0;
}
