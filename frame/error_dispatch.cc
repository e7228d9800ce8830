// One dispatch for the four element types and both layouts.
#include "frame/error_dispatch.h"

#include <errno.h>
#include <stdint.h>
#include <string.h>

#include <type_traits>

#include "frame/thread_state.h"
#include "qor/core.h"

namespace tem {

namespace {

constexpr uint32_t kErrorField = 0xFF00;
constexpr uint32_t kDefaultActions =
    TEM_ERRMODE_ERRNO | TEM_ERRMODE_STDERR | TEM_ERRMODE_EXCEPT | TEM_ERRMODE_NOERR;
constexpr int kMaxNameLength = 47;

// Real and imaginary parts of an element, widened to double.
inline double Re(float v) { return v; }
inline double Re(double v) { return v; }
inline double Re(const TemComplex8& v) { return v.re; }
inline double Re(const TemComplex16& v) { return v.re; }
inline double Im(const TemComplex8& v) { return v.im; }
inline double Im(const TemComplex16& v) { return v.im; }

inline void Put(float& v, double re, double) { v = static_cast<float>(re); }
inline void Put(double& v, double re, double) { v = re; }
inline void Put(TemComplex8& v, double re, double im) {
  v.re = static_cast<float>(re);
  v.im = static_cast<float>(im);
}
inline void Put(TemComplex16& v, double re, double im) {
  v.re = re;
  v.im = im;
}

template <class E>
constexpr bool kComplex = !std::is_floating_point_v<E>;

// Offset of element `index` at stride `inc`, multiplied in 32 bits.
inline int32_t Offset(int index, int inc) {
  return static_cast<int32_t>(static_cast<uint32_t>(index) * static_cast<uint32_t>(inc));
}

template <class E>
void Dispatch(int code, int index, const E* a1, int inca1, const E* a2, int inca2, E* r1,
              int incr1, E* r2, int incr2, const char* name, const E* arg1 = nullptr,
              const E* arg2 = nullptr) {
  uint32_t mode = temGetMode();
  uint32_t field = mode & kErrorField;
  if (field == TEM_ERRMODE_NOERR) return;
  temThreadState* state = temGetThreadState();
  state->ErrStatus = code;
  if (field == TEM_ERRMODE_IGNORE) return;

  temErrorContext context;
  context.Code = code;
  context.Index = index;
  if (const void* base = state->InterfInputVectorPointer) {
    uint64_t distance = reinterpret_cast<uintptr_t>(a1) - reinterpret_cast<uintptr_t>(base);
    context.Index = static_cast<int32_t>(static_cast<uint64_t>(index) + distance / sizeof(E));
  }
  int length = 0;
  while (length < kMaxNameLength && name[length] != '\0') {
    context.FuncName[length] = name[length];
    ++length;
  }
  context.FuncName[length] = '\0';
  context.FuncNameLen = length;

  const bool has_values = code != TEM_STATUS_BADSIZE && code != TEM_STATUS_BADMEM;
  if (has_values) {
    if (arg1 == nullptr) {
      arg1 = &a1[Offset(index, inca1)];
      arg2 = &a2[Offset(index, inca2)];
    }
    const E& res1 = r1[Offset(index, incr1)];
    const E& res2 = r2[Offset(index, incr2)];
    context.Arg1 = Re(*arg1);
    context.Arg2 = Re(*arg2);
    context.Res1 = Re(res1);
    context.Res2 = Re(res2);
    if constexpr (kComplex<E>) {
      context.Arg1Im = Im(*arg1);
      context.Arg2Im = Im(*arg2);
      context.Res1Im = Im(res1);
      context.Res2Im = Im(res2);
    }
  }

  if ((mode & TEM_ERRMODE_CALLBACK) != 0 && state->ErrorCallBack != nullptr &&
      state->ErrorCallBack(&context) != 0) {
    return;
  }
  if ((mode & kDefaultActions) != 0) temDefaultErrorAction(&context);

  if (has_values) {
    // Res2 first: with one-result kernels r1 == r2, and Res1 is the value that stays.
    double res2_im = 0, res1_im = 0;
    if constexpr (kComplex<E>) {
      res2_im = context.Res2Im;
      res1_im = context.Res1Im;
    }
    Put(r2[Offset(index, incr2)], context.Res2, res2_im);
    Put(r1[Offset(index, incr1)], context.Res1, res1_im);
  }
}

int ErrnoOf(int code) {
  switch (code) {
    case TEM_STATUS_BADMEM: return 13;
    case TEM_STATUS_BADSIZE: return 22;
    case TEM_STATUS_OK: return 0;
    case TEM_STATUS_ERRDOM: return 33;
    case TEM_STATUS_SING:
    case TEM_STATUS_OVERFLOW:
    case TEM_STATUS_UNDERFLOW: return 34;
    default: return 14;
  }
}

bool SameBits(double x, double y) { return memcmp(&x, &y, sizeof x) == 0; }

void PrintElement(const temErrorContext& c) {
  switch (c.Code) {
    case TEM_STATUS_BADMEM: qor_serv_print(1, 749, 1, c.FuncName); return;
    case TEM_STATUS_BADSIZE: qor_serv_print(1, 748, 2, c.FuncName, c.Index); return;
    case TEM_STATUS_OK: return;
    case TEM_STATUS_ERRDOM: qor_serv_print(1, 750, 1, c.FuncName); break;
    case TEM_STATUS_SING: qor_serv_print(1, 751, 1, c.FuncName); break;
    case TEM_STATUS_OVERFLOW: qor_serv_print(1, 752, 1, c.FuncName); break;
    case TEM_STATUS_UNDERFLOW: qor_serv_print(1, 753, 1, c.FuncName); break;
    default: qor_serv_print(1, 754, 1, c.FuncName); break;
  }
  const bool one_result = SameBits(c.Res1, c.Res2) || c.Res2 == 0.0;
  const bool one_argument = SameBits(c.Arg1, c.Arg2) || c.Arg2 == 0.0;
  auto line = [&](int number, double value) { qor_serv_print(1, number, 2, c.Index, value); };
  if (one_argument && one_result) {
    line(755, c.Arg1), line(756, c.Res1);
  } else if (one_argument) {
    line(757, c.Arg1), line(758, c.Res1), line(759, c.Res2);
  } else if (one_result) {
    line(760, c.Arg1), line(761, c.Arg2), line(762, c.Res1);
  } else {
    line(763, c.Arg1), line(764, c.Arg2), line(765, c.Res1), line(766, c.Res2);
  }
}

// The x87 environment as fnstenv stores it in 32-bit protected mode.
struct X87Environment {
  uint16_t control, unused0;
  uint16_t status, unused1;
  uint16_t tags, unused2;
  uint32_t rest[4];
};

// Raises the x87 exception of `code` when the mode's trap bits unmask it; otherwise leaves its
// flag set with every exception masked.
void RaiseX87Exception(int code) {
  static constexpr struct {
    uint32_t trap;
    uint16_t mask;
  } kUnmask[] = {{TEM_TRAP_INVALID, 0x1},
                 {TEM_TRAP_DIVBYZERO, 0x4},
                 {TEM_TRAP_OVERFLOW, 0x8},
                 {TEM_TRAP_UNDERFLOW, 0x10}};
  uint32_t mode = temGetMode();
  X87Environment kept;
  __asm__ volatile("fnstenv %0" : "=m"(kept));
  X87Environment copy = kept;
  for (const auto& u : kUnmask) {
    if ((mode & u.trap) != 0) copy.control &= static_cast<uint16_t>(~u.mask);
  }
  uint16_t flag = code == 1 ? 0x1 : code == 2 ? 0x4 : code == 3 ? 0x8 : code == 4 ? 0x10 : 0;
  copy.status = static_cast<uint16_t>((copy.status & ~0x3F) | flag);
  __asm__ volatile("fldenv %0" : : "m"(copy) : "memory");
  // Loading the kept environment is the waiting instruction that delivers a pending unmasked
  // exception; with none, the flag stays for a later test of the x87 status.
  kept.control |= 0x3F;
  kept.status |= flag;
  __asm__ volatile("fldenv %0" : : "m"(kept) : "memory");
}

}  // namespace

void temDefaultErrorAction(temErrorContext* context) {
  uint32_t mode = temGetMode();
  if ((mode & TEM_ERRMODE_ERRNO) != 0) errno = ErrnoOf(context->Code);
  if ((mode & TEM_ERRMODE_STDERR) != 0) PrintElement(*context);
  if ((mode & TEM_ERRMODE_EXCEPT) != 0) RaiseX87Exception(context->Code);
}

void temErrorS(int code, int index, const float* a1, const float* a2, float* r1, float* r2,
               const char* name) {
  Dispatch(code, index, a1, 1, a2, 1, r1, 1, r2, 1, name);
}
void temErrorSI(int code, int index, const float* a1, int inca1, const float* a2, int inca2,
                float* r1, int incr1, float* r2, int incr2, const char* name) {
  Dispatch(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}
void temErrorC(int code, int index, const TemComplex8* a1, const TemComplex8* a2, TemComplex8* r1,
               TemComplex8* r2, const char* name) {
  Dispatch(code, index, a1, 1, a2, 1, r1, 1, r2, 1, name);
}
void temErrorCI(int code, int index, const TemComplex8* a1, int inca1, const TemComplex8* a2,
                int inca2, TemComplex8* r1, int incr1, TemComplex8* r2, int incr2,
                const char* name) {
  Dispatch(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}
void temErrorD(int code, int index, const double* a1, const double* a2, double* r1, double* r2,
               const char* name) {
  Dispatch(code, index, a1, 1, a2, 1, r1, 1, r2, 1, name);
}
void temErrorDI(int code, int index, const double* a1, int inca1, const double* a2, int inca2,
                double* r1, int incr1, double* r2, int incr2, const char* name) {
  Dispatch(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}
void temErrorZ(int code, int index, const TemComplex16* a1, const TemComplex16* a2,
               TemComplex16* r1, TemComplex16* r2, const char* name) {
  Dispatch(code, index, a1, 1, a2, 1, r1, 1, r2, 1, name);
}
void temErrorZI(int code, int index, const TemComplex16* a1, int inca1, const TemComplex16* a2,
                int inca2, TemComplex16* r1, int incr1, TemComplex16* r2, int incr2,
                const char* name) {
  Dispatch(code, index, a1, inca1, a2, inca2, r1, incr1, r2, incr2, name);
}

void ReportLane(int code, int index, const float* arg1, const float* arg2, const float* a1,
                int inca1, float* r1, int incr1, float* r2, int incr2, const char* name) {
  Dispatch(code, index, a1, inca1, a1, inca1, r1, incr1, r2, incr2, name, arg1, arg2);
}
void ReportLane(int code, int index, const double* arg1, const double* arg2, const double* a1,
                int inca1, double* r1, int incr1, double* r2, int incr2, const char* name) {
  Dispatch(code, index, a1, inca1, a1, inca1, r1, incr1, r2, incr2, name, arg1, arg2);
}

}  // namespace tem
