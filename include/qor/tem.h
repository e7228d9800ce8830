/* Vector math: mode word, error status and callback, the error record, table slots, and the
   prototypes of every exported vector function (qor/tem_functions.h). */
#ifndef QOR_TEM_H_
#define QOR_TEM_H_

#include <stdint.h>

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* Complex elements: real part first. */
typedef struct TemComplex8 {
  float re;
  float im;
} TemComplex8;
typedef struct TemComplex16 {
  double re;
  double im;
} TemComplex16;

/* Status codes of an element error. */
#define TEM_STATUS_BADMEM (-2)
#define TEM_STATUS_BADSIZE (-1)
#define TEM_STATUS_OK 0
#define TEM_STATUS_ERRDOM 1
#define TEM_STATUS_SING 2
#define TEM_STATUS_OVERFLOW 3
#define TEM_STATUS_UNDERFLOW 4

/* Mode word fields. Accuracy, mask 0xF. */
#define TEM_LA 0x1u
#define TEM_HA 0x2u
#define TEM_EP 0x3u
#define TEM_DEFAULT_PRECISION 0x0u
/* Floating-point consistency, mask 0xF0; only QOR_TEM_MODE sets it. */
#define TEM_FLOAT_CONSISTENT 0x10u
#define TEM_DOUBLE_CONSISTEN 0x20u
#define TEM_RESTORE 0x30u
/* Error reaction, mask 0xFF00. */
#define TEM_ERRMODE_IGNORE 0x100u
#define TEM_ERRMODE_ERRNO 0x200u
#define TEM_ERRMODE_STDERR 0x400u
#define TEM_ERRMODE_EXCEPT 0x800u
#define TEM_ERRMODE_CALLBACK 0x1000u
#define TEM_ERRMODE_NOERR 0x2000u
#define TEM_ERRMODE_DEFAULT 0x1A00u
/* Denormal control, mask 0x3C0000: flush to zero with denormals-are-zero, or both off. */
#define TEM_FTZDAZ_ON 0x280000u
#define TEM_FTZDAZ_OFF 0x140000u
/* Trap bits, mask 0xF000000, honoured with TEM_ERRMODE_EXCEPT. */
#define TEM_TRAP_INVALID 0x1000000u
#define TEM_TRAP_DIVBYZERO 0x2000000u
#define TEM_TRAP_OVERFLOW 0x4000000u
#define TEM_TRAP_UNDERFLOW 0x8000000u
/* The mode word of a thread whose QOR_TEM_MODE gives nothing usable. */
#define TEM_MODE_DEFAULT 0x1A02u

/* The record an error callback receives. Single-precision values are widened to double; the
   imaginary fields are meaningful for complex functions only. */
typedef struct temErrorContext {
  int32_t Code;
  int32_t Index;
  double Arg1;
  double Arg2;
  double Res1;
  double Res2;
  char FuncName[64];
  int32_t FuncNameLen;
  double Arg1Im;
  double Arg2Im;
  double Res1Im;
  double Res2Im;
} temErrorContext;

/* A non-zero result means the callback dealt with the element: the default reactions are
   skipped and Res1/Res2 are not written back. */
typedef int (*temErrorCallBack)(temErrorContext* context);

#define QOR_TEM_SERVICE(ret, name, params) \
  QOR_API ret _tem##name params;           \
  QOR_API ret qor_tem_kernel_##name params;
QOR_TEM_SERVICE(unsigned int, SetMode, (unsigned int mode))
QOR_TEM_SERVICE(unsigned int, GetMode, (void))
QOR_TEM_SERVICE(int, SetErrStatus, (int status))
QOR_TEM_SERVICE(int, GetErrStatus, (void))
QOR_TEM_SERVICE(int, ClearErrStatus, (void))
QOR_TEM_SERVICE(temErrorCallBack, SetErrorCallBack, (temErrorCallBack callback))
QOR_TEM_SERVICE(temErrorCallBack, GetErrorCallBack, (void))
QOR_TEM_SERVICE(temErrorCallBack, ClearErrorCallBack, (void))
QOR_TEM_SERVICE(const void*, SetInterfInputVectorPointer, (const void* base))
#undef QOR_TEM_SERVICE

/* Table slot for the calling thread's accuracy: (mode & 0xF) - 1; -1 when none is chosen. */
QOR_API int qor_tem_kernel_GetTTableIndex(void);
/* The same for a given mode word; the first argument is ignored. */
QOR_API int qor_tem_kernel_GetTTableIndexM(const void* ignored, unsigned int mode);
/* The processor layer of this library: 1, the baseline layer. */
QOR_API int dll_cpu_version(void);

QOR_EXTERN_C_END

#include "qor/tem_functions.h"

#endif /* QOR_TEM_H_ */
