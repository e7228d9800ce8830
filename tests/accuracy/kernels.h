// The kernels of a row, found by name in the loaded libqor.so, so that functions whose kernels
// are absent are simply skipped; and their evaluation over an input set.
#ifndef QOR_TESTS_ACCURACY_KERNELS_H_
#define QOR_TESTS_ACCURACY_KERNELS_H_

#include <string>
#include <vector>

#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"

namespace accuracy {

// One exported entry point ("_temdExp_50"): _tem<f>, _tem<f>_HA, the two suffixed names, and
// those of <f>I; the _ttab slot its stub jumps through and the kernel that slot holds now; the
// result measured (0: the only one; 1 or 2 of two).
struct Entry {
  std::string symbol;
  int slot;
  bool strided;
  void *address, *kernel;
  int result;
};

// The entries of `row` that libqor.so exports; empty when the kernel is absent.
std::vector<Entry> ExportedEntries(const FunctionRow& row);

// Strides of the strided calls, each its own so that a mix-up shows; elements per kernel call,
// odd so that every call runs blocks and a tail.
constexpr int kStrideA = 3, kStrideB = 5, kStrideR = 2;
constexpr int kCallLength = 4093;

// r[i] = f(a[i]) or f(a[i], b[i]), or the chosen result of two, through `entry`.
template <class T>
void Evaluate(const Entry& entry, const Inputs<T>& inputs, std::vector<T>* results);

// Sets the calling thread's mode word for its lifetime, then puts the old one back.
class ScopedMode {
 public:
  explicit ScopedMode(unsigned mode);
  ~ScopedMode();
  ScopedMode(const ScopedMode&) = delete;

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
