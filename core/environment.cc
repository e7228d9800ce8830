// Reading an environment variable into a caller's buffer.
#include <stdlib.h>
#include <string.h>

#include "qor/core.h"

extern "C" QOR_API int qor_serv_getenv(const char* name, char* buffer, int size) {
  const char* value = getenv(name);
  if (size > 0) buffer[0] = '\0';
  if (value == nullptr) return 0;
  size_t length = strlen(value);
  // A value that does not fit is not cut: a cut value could parse as a different one.
  if (size > 0 && length < static_cast<size_t>(size)) memcpy(buffer, value, length + 1);
  return length > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(length);
}
