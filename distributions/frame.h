// The frame every distribution generator shares: the floating-point guard, the mode and error
// callback it installs, the mode pair around each kernel call, and typed access to the kernel
// tables in the slot the work calls for.
#ifndef QOR_DISTRIBUTIONS_FRAME_H_
#define QOR_DISTRIBUTIONS_FRAME_H_

#include <type_traits>

#include "frame/fp_env.h"
#include "frame/function_list.h"
#include "frame/kernel_frame.h"
#include "frame/thread_state.h"
#include "qor/rof.h"
#include "qor/tem.h"

namespace rof {
namespace dist {

// Accuracy slots of the kernel tables: bulk float work, one-off set-up, bulk double work.
enum Slot { kLA = 0, kHA = 1, kEP = 2 };

template <class T>
inline constexpr int kBulkSlot = std::is_same_v<T, double> ? kEP : kLA;

// Mode of the generator's whole call, and of each kernel call inside it.
inline constexpr unsigned int kGeneratorMode = TEM_ERRMODE_CALLBACK;
inline constexpr unsigned int kKernelMode = TEM_FTZDAZ_OFF;

// Masks every floating-point exception for the length of a call: pending x87 exceptions are
// cleared, then the x87 control word and MXCSR are loaded with all masks set if they lacked one.
// The caller's words come back on destruction.
class FloatGuard {
 public:
  FloatGuard() {
    tem::ClearX87Exceptions();
    x87_ = tem::ReadX87Control();
    if ((x87_ | tem::kX87Masks) != x87_) {
      tem::LoadX87Control(static_cast<uint16_t>(x87_ | tem::kX87Masks));
      restore_x87_ = true;
    }
    mxcsr_ = tem::ReadMxcsr();
    if ((mxcsr_ | tem::kMxcsrMasks) != mxcsr_) {
      tem::WriteMxcsr(mxcsr_ | tem::kMxcsrMasks);
      restore_mxcsr_ = true;
    }
  }
  ~FloatGuard() {
    if (restore_x87_) tem::LoadX87Control(x87_);
    if (restore_mxcsr_) tem::WriteMxcsr(mxcsr_);
  }
  FloatGuard(const FloatGuard&) = delete;
  FloatGuard& operator=(const FloatGuard&) = delete;

 private:
  uint16_t x87_;
  uint32_t mxcsr_;
  bool restore_x87_ = false;
  bool restore_mxcsr_ = false;
};

// Puts back a mode word whole. Setting a mode changes only the fields the request names, so
// a field that was empty before cannot be emptied again through it.
inline void RestoreMode(unsigned int mode) { tem::temGetThreadState()->Mode = mode; }

// Sets the calling thread's mode to report kernel errors through `callback` only, and puts
// back the caller's mode and callback on destruction. `Abandon` leaves them as they are now.
class ErrorFrame {
 public:
  explicit ErrorFrame(temErrorCallBack callback)
      : mode_(qor_tem_kernel_SetMode(kGeneratorMode)),
        callback_(qor_tem_kernel_SetErrorCallBack(callback)) {}
  ~ErrorFrame() {
    if (restore_) {
      qor_tem_kernel_SetErrorCallBack(callback_);
      RestoreMode(mode_);
    }
  }
  void Abandon() { restore_ = false; }
  ErrorFrame(const ErrorFrame&) = delete;
  ErrorFrame& operator=(const ErrorFrame&) = delete;

 private:
  unsigned int mode_;
  temErrorCallBack callback_;
  bool restore_ = true;
};

// The full frame: the guard, then the error frame; torn down in reverse order.
struct GuardedFrame {
  explicit GuardedFrame(temErrorCallBack callback) : errors(callback) {}
  FloatGuard guard;
  ErrorFrame errors;
};

// Runs one kernel call under the kernel mode, the mode before it restored afterwards.
template <class Fn, class... Args>
inline void RunKernel(Fn kernel, Args... args) {
  const unsigned int mode = qor_tem_kernel_SetMode(kKernelMode);
  kernel(args...);
  RestoreMode(mode);
}

// Typed kernel table entries: Kernel<T>::Ln(slot) is the dLn or sLn kernel of that slot.
template <class T>
struct Kernel;

#define QOR_DIST_KERNEL(stem, prefix) \
  static auto stem(int slot) {        \
    return tem::Slot<decltype(&tem_kernel_##prefix##stem)>(tem_ttab_##prefix##stem, slot); \
  }
#define QOR_DIST_KERNELS(prefix)      \
  QOR_DIST_KERNEL(Ln, prefix)         \
  QOR_DIST_KERNEL(Exp, prefix)        \
  QOR_DIST_KERNEL(Sqrt, prefix)       \
  QOR_DIST_KERNEL(Sin, prefix)        \
  QOR_DIST_KERNEL(Cos, prefix)        \
  QOR_DIST_KERNEL(SinCos, prefix)     \
  QOR_DIST_KERNEL(Tan, prefix)        \
  QOR_DIST_KERNEL(Powx, prefix)       \
  QOR_DIST_KERNEL(ErfInv, prefix)     \
  QOR_DIST_KERNEL(Inv, prefix)

template <>
struct Kernel<double> {
  QOR_DIST_KERNELS(d)
};
template <>
struct Kernel<float> {
  QOR_DIST_KERNELS(s)
};

#undef QOR_DIST_KERNELS
#undef QOR_DIST_KERNEL

// ln 2^-1074 and ln 2^-149: what a logarithm of zero becomes inside the generators.
template <class T>
inline constexpr T kLnOfZero = std::is_same_v<T, double> ? T(-744.4400719213812)
                                                         : T(-103.27892990343185);

// A generator's uniforms of its own precision on [a, b), method 0.
inline int Uniform(void* stream, int n, double* r, double a, double b) {
  return _rofdRngUniform(0, stream, n, r, a, b);
}
inline int Uniform(void* stream, int n, float* r, float a, float b) {
  return _rofsRngUniform(0, stream, n, r, a, b);
}

// Raises results below `floor` to it: the accurate form's clamp of a support [floor, inf).
template <class T>
inline void RaiseTo(T floor, int n, T* r) {
  for (int i = 0; i < n; ++i) r[i] = r[i] < floor ? floor : r[i];
}

// The common tail of a generator of a standard variate: r = r * beta + a.
template <class T>
inline void ScaleAndShift(int n, T* r, T a, T beta) {
  for (int i = 0; i < n; ++i) r[i] = r[i] * beta + a;
}

// The same, then with the accurate bit of `method` raised to at least a.
template <class T>
inline void ScaleAndShiftAbove(int method, int n, T* r, T a, T beta) {
  ScaleAndShift(n, r, a, beta);
  if (method & ROF_ACCURATE_BIT) RaiseTo(a, n, r);
}

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_FRAME_H_
