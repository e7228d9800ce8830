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

// Overloads by element type, for the kernel frame.
inline void ReportError(int code, int index, const float* a1, const float* a2, float* r1,
                        float* r2, const char* name) {
  temErrorS(code, index, a1, a2, r1, r2, name);
}
inline void ReportError(int code, int index, const double* a1, const double* a2, double* r1,
                        double* r2, const char* name) {
  temErrorD(code, index, a1, a2, r1, r2, name);
}
inline void ReportError(int code, int index, const float* a1, int inca1, const float* a2,
                        int inca2, float* r1, int incr1, float* r2, int incr2, const char* name) {
  temErrorSI(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}
inline void ReportError(int code, int index, const double* a1, int inca1, const double* a2,
                        int inca2, double* r1, int incr1, double* r2, int incr2,
                        const char* name) {
  temErrorDI(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}

}  // namespace tem

#endif  // QOR_FRAME_ERROR_DISPATCH_H_
