// The kernels of a row, found by name in the loaded libqor.so, so that functions whose kernels
// are absent are simply skipped; and their evaluation over an input set.
#ifndef QOR_TESTS_ACCURACY_KERNELS_H_
#define QOR_TESTS_ACCURACY_KERNELS_H_

#include <string>
#include <vector>

#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"

namespace accuracy {

// One exported entry point: _tem<f>, _tem<f>_HA, the two suffixed names, and those of <f>I.
struct Entry {
  std::string symbol;      // "_temdExp_50"
  int slot;                // the _ttab slot its stub jumps through
  bool strided;            // an entry of <f>I
  void* address;           // the stub
  void* kernel;            // what the slot holds now
  int result;              // 0: the only result; 1 or 2: the one measured of two
};

// The entries of `row` that libqor.so exports; empty when the kernel is absent.
std::vector<Entry> ExportedEntries(const FunctionRow& row);

// Strides of the strided calls: the inputs and the result each with its own, so that a mix-up
// shows.
constexpr int kStrideA = 3;
constexpr int kStrideB = 5;
constexpr int kStrideR = 2;
// Elements per kernel call: a few thousand and odd, so that every call runs blocks and a tail.
constexpr int kCallLength = 4093;

// r[i] = f(a[i]) or f(a[i], b[i]), or the chosen result of two, through `entry`, in calls of kCallLength elements.
template <class T>
void Evaluate(const Entry& entry, const Inputs<T>& inputs, std::vector<T>* results);

// Sets the calling thread's mode word for its lifetime, then puts the old one back.
class ScopedMode {
 public:
  explicit ScopedMode(unsigned mode);
  ~ScopedMode();
  ScopedMode(const ScopedMode&) = delete;
  ScopedMode& operator=(const ScopedMode&) = delete;

 private:
  unsigned saved_;
};

// High accuracy, errors reported to the status (no callback is installed), no flushing.
unsigned DefaultMode();
// The same with the error field 0x2000: flagged lanes may be settled without the companion.
unsigned NoErrorMode();
// The default mode without its x87 flag raise, which costs hundreds of cycles per reported
// element: the companions run and report exactly as in the default mode. The full sweep uses it.
unsigned SweepMode();

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_KERNELS_H_
