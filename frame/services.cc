// Exported service calls of the vector functions. Each is one function with two names, except
// _temSetMode, which forwards to qor_tem_kernel_SetMode.
#include "frame/mode.h"
#include "frame/thread_state.h"
#include "qor/tem.h"

using tem::temGetMode;
using tem::temGetThreadState;

#define QOR_TEM_ALIAS(ret, name, params) \
  QOR_API ret qor_tem_kernel_##name params __attribute__((alias("_tem" #name)));

extern "C" {

QOR_API unsigned int qor_tem_kernel_SetMode(unsigned int mode) {
  uint32_t old = temGetMode();
  temGetThreadState()->Mode = tem::ReplaceModeFields(old, mode);
  return old;
}

QOR_API unsigned int _temSetMode(unsigned int mode) { return qor_tem_kernel_SetMode(mode); }

QOR_API unsigned int _temGetMode(void) { return temGetMode(); }
QOR_TEM_ALIAS(unsigned int, GetMode, (void))

QOR_API int _temSetErrStatus(int status) {
  tem::temThreadState* state = temGetThreadState();
  int old = state->ErrStatus;
  state->ErrStatus = status;
  return old;
}
QOR_TEM_ALIAS(int, SetErrStatus, (int status))

QOR_API int _temGetErrStatus(void) { return temGetThreadState()->ErrStatus; }
QOR_TEM_ALIAS(int, GetErrStatus, (void))

QOR_API int _temClearErrStatus(void) { return _temSetErrStatus(TEM_STATUS_OK); }
QOR_TEM_ALIAS(int, ClearErrStatus, (void))

// The callback bit follows the pointer, except that clearing it when it is the only error bit
// leaves the bit set: a zero error field is never stored. The dispatch then finds no callback.
QOR_API temErrorCallBack _temSetErrorCallBack(temErrorCallBack callback) {
  tem::temThreadState* state = temGetThreadState();
  temErrorCallBack old = state->ErrorCallBack;
  uint32_t mode = temGetMode() & ~TEM_ERRMODE_CALLBACK;
  if (callback != nullptr) mode |= TEM_ERRMODE_CALLBACK;
  state->ErrorCallBack = callback;
  qor_tem_kernel_SetMode(mode);
  return old;
}
QOR_TEM_ALIAS(temErrorCallBack, SetErrorCallBack, (temErrorCallBack callback))

QOR_API temErrorCallBack _temGetErrorCallBack(void) { return temGetThreadState()->ErrorCallBack; }
QOR_TEM_ALIAS(temErrorCallBack, GetErrorCallBack, (void))

QOR_API temErrorCallBack _temClearErrorCallBack(void) { return _temSetErrorCallBack(nullptr); }
QOR_TEM_ALIAS(temErrorCallBack, ClearErrorCallBack, (void))

QOR_API const void* _temSetInterfInputVectorPointer(const void* base) {
  temGetThreadState()->InterfInputVectorPointer = base;
  return base;
}
QOR_TEM_ALIAS(const void*, SetInterfInputVectorPointer, (const void* base))

QOR_API int qor_tem_kernel_GetTTableIndex(void) { return static_cast<int>(temGetMode() & 0xF) - 1; }

QOR_API int qor_tem_kernel_GetTTableIndexM(const void*, unsigned int mode) {
  return static_cast<int>(mode & 0xF) - 1;
}

QOR_API int dll_cpu_version(void) { return 1; }

}  // extern "C"
