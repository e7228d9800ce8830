// The per-thread record of the vector functions: mode word, last error status, error callback
// and the base pointer for global element indices.
#ifndef QOR_FRAME_THREAD_STATE_H_
#define QOR_FRAME_THREAD_STATE_H_

#include <stdint.h>

#include "qor/tem.h"

namespace tem {

struct temThreadState {
  uint32_t Mode;  // 0 until seeded; a seeded word is never 0
  int32_t ErrStatus;
  temErrorCallBack ErrorCallBack;
  const void* InterfInputVectorPointer;
};

// The calling thread's record, made on first use. A storage failure ends the process with
// qor_serv_exit(3) after message 773.
temThreadState* temGetThreadState();

// The calling thread's mode word, seeded from QOR_TEM_MODE on first use.
uint32_t temGetMode();

}  // namespace tem

#endif  // QOR_FRAME_THREAD_STATE_H_
