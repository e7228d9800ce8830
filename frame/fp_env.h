// Entry and exit of every kernel's floating-point environment: the x87 control word and MXCSR
// are forced for the call, and the caller's come back with the kernel's sticky flags.
#ifndef QOR_FRAME_FP_ENV_H_
#define QOR_FRAME_FP_ENV_H_

#include <stdint.h>

#include "frame/thread_state.h"

namespace tem {

inline uint16_t ReadX87Control() {
  uint16_t word;
  __asm__ volatile("fnstcw %0" : "=m"(word));
  return word;
}
inline void LoadX87Control(uint16_t word) { __asm__ volatile("fldcw %0" : : "m"(word) : "memory"); }
inline void ClearX87Exceptions() { __asm__ volatile("fnclex" : : : "memory"); }
inline uint32_t ReadMxcsr() {
  uint32_t word;
  __asm__ volatile("stmxcsr %0" : "=m"(word) : : "memory");
  return word;
}
inline void WriteMxcsr(uint32_t word) { __asm__ volatile("ldmxcsr %0" : : "m"(word) : "memory"); }

// All six exceptions masked, round to nearest, FTZ and DAZ off; and the same with FTZ (0x8000)
// and DAZ (0x40).
inline constexpr uint32_t kMxcsrNormal = 0x1F80;
inline constexpr uint32_t kMxcsrFlush = 0x9FC0;
inline constexpr uint32_t kMxcsrMasks = 0x1F80;
// The bits a vector-form kernel forces: DAZ, masks, rounding and FTZ; the flags stay.
inline constexpr uint32_t kMxcsrForced = 0xFFC0;
inline constexpr uint32_t kMxcsrFlags = 0x3F;
inline constexpr uint16_t kX87Masks = 0x3F;
inline constexpr uint32_t kDenormalField = 0x3C0000;
inline constexpr uint32_t kDenormalFlush = 0x280000;

// Holds the caller's registers for the length of a kernel call.
class FpFrame {
 public:
  // The vector form: reads the mode word, then forces MXCSR to round to nearest, flushing as
  // the word's denormal field says.
  static FpFrame ForVector() {
    FpFrame frame;
    uint32_t mode = frame.mode_ = temGetMode();
    uint32_t target = (mode & kDenormalField) == kDenormalFlush ? kMxcsrFlush : kMxcsrNormal;
    uint32_t old = ReadMxcsr();
    if ((old & kMxcsrForced) != target) {
      WriteMxcsr(target | (old & ~kMxcsrForced));
      frame.saved_mxcsr_ = old;
      frame.restore_ |= kRestoreMxcsr;
    }
    return frame;
  }

  // The loop form: only the exception masks are set; rounding, FTZ and DAZ stay the caller's.
  static FpFrame ForLoop() {
    FpFrame frame;
    uint32_t old = ReadMxcsr();
    if ((old & kMxcsrMasks) != kMxcsrMasks) {
      WriteMxcsr(old | kMxcsrMasks);
      frame.saved_mxcsr_ = old;
      frame.restore_ |= kRestoreMxcsr;
    }
    return frame;
  }

  FpFrame(FpFrame&& other) noexcept
      : restore_(other.restore_),
        saved_x87_(other.saved_x87_),
        saved_mxcsr_(other.saved_mxcsr_),
        mode_(other.mode_) {
    other.restore_ = 0;
  }
  FpFrame(const FpFrame&) = delete;
  FpFrame& operator=(const FpFrame&) = delete;

  // The mode word read on entry of the vector form.
  uint32_t mode() const { return mode_; }

  ~FpFrame() {
    if (restore_ & kRestoreX87) LoadX87Control(saved_x87_);
    // Caller's sticky flags survive: (current & 0x3F) | saved.
    if (restore_ & kRestoreMxcsr) WriteMxcsr((ReadMxcsr() & kMxcsrFlags) | saved_mxcsr_);
  }

 private:
  static constexpr unsigned kRestoreX87 = 1;
  static constexpr unsigned kRestoreMxcsr = 2;

  // First entry step of both forms: mask the x87 exceptions; precision and rounding stay.
  FpFrame() {
    uint16_t control = ReadX87Control();
    if ((control & kX87Masks) != kX87Masks) {
      ClearX87Exceptions();
      LoadX87Control(static_cast<uint16_t>(control | kX87Masks));
      saved_x87_ = control;
      restore_ |= kRestoreX87;
    }
  }

  unsigned restore_ = 0;
  uint16_t saved_x87_ = 0;
  uint32_t saved_mxcsr_ = 0;
  uint32_t mode_ = 0;
};

}  // namespace tem

#endif  // QOR_FRAME_FP_ENV_H_
