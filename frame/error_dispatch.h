// The error dispatch of the vector kernels: status, callback, errno, messages and trap for one
// element whose result is already stored. One-input kernels pass `a` twice, one-result
// kernels `r` twice. Strided entries take element numbers and apply the strides themselves.
#ifndef QOR_FRAME_ERROR_DISPATCH_H_
#define QOR_FRAME_ERROR_DISPATCH_H_

#include "qor/tem.h"

namespace tem {

void temErrorS(int code, int index, const float* a1, const float* a2, float* r1, float* r2,
               const char* name);
void temErrorSI(int code, int index, const float* a1, int inca1, const float* a2, int inca2,
                float* r1, int incr1, float* r2, int incr2, const char* name);
void temErrorC(int code, int index, const TemComplex8* a1, const TemComplex8* a2, TemComplex8* r1,
               TemComplex8* r2, const char* name);
void temErrorCI(int code, int index, const TemComplex8* a1, int inca1, const TemComplex8* a2,
                int inca2, TemComplex8* r1, int incr1, TemComplex8* r2, int incr2,
                const char* name);
void temErrorD(int code, int index, const double* a1, const double* a2, double* r1, double* r2,
               const char* name);
void temErrorDI(int code, int index, const double* a1, int inca1, const double* a2, int inca2,
                double* r1, int incr1, double* r2, int incr2, const char* name);
void temErrorZ(int code, int index, const TemComplex16* a1, const TemComplex16* a2,
               TemComplex16* r1, TemComplex16* r2, const char* name);
void temErrorZI(int code, int index, const TemComplex16* a1, int inca1, const TemComplex16* a2,
                int inca2, TemComplex16* r1, int incr1, TemComplex16* r2, int incr2,
                const char* name);

// The built-in reactions the mode word asks for: errno, messages, trap.
void temDefaultErrorAction(temErrorContext* context);

// For the kernel frame: the same dispatch, with the element's arguments taken from `arg1` and
// `arg2`, the values as they were before the result was stored, which a call in place has
// overwritten. The arrays still give the element number and receive the results.
void ReportLane(int code, int index, const float* arg1, const float* arg2, const float* a1,
                int inca1, float* r1, int incr1, float* r2, int incr2, const char* name);
void ReportLane(int code, int index, const double* arg1, const double* arg2, const double* a1,
                int inca1, double* r1, int incr1, double* r2, int incr2, const char* name);

}  // namespace tem

#endif  // QOR_FRAME_ERROR_DISPATCH_H_
