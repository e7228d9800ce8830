// The kernels of a row, found by name in the loaded libqor.so (absent kernels are skipped), and
// their evaluation over an input set.
#ifndef QOR_TESTS_ACCURACY_KERNELS_H_
#define QOR_TESTS_ACCURACY_KERNELS_H_

#include <dlfcn.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "qor/tem.h"
#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"

namespace accuracy {

// One exported name ("_temdExp_50"), the _ttab slot its stub jumps through and the kernel that
// slot holds now, and the result measured (0: the only one; 1 or 2 of two).
struct Entry {
  std::string symbol;
  int slot;
  bool strided;
  void *address, *kernel;
  int result;
};

// _tem<f>, _tem<f>_HA and the two suffixed names, and those of <f>I, that libqor.so exports.
inline std::vector<Entry> ExportedEntries(const FunctionRow& row) {
  const bool single = row.type() == 's';
  const struct { const char* suffix; int slot; } names[] = {
      {"", 1}, {"_HA", 1}, {single ? "_21" : "_50", 0}, {single ? "_11" : "_26", 2}};
  std::vector<Entry> entries;
  for (bool strided : {false, true}) {
    const std::string function = row.function() + (strided ? "I" : "");
    const auto* table = static_cast<void* const*>(
        dlsym(RTLD_DEFAULT, ("qor_tem_kernel_" + function + "_ttab").c_str()));
    for (const auto& name : names) {
      const std::string symbol = "_tem" + function + name.suffix;
      void* address = table == nullptr ? nullptr : dlsym(RTLD_DEFAULT, symbol.c_str());
      if (address != nullptr)
        entries.push_back({symbol, name.slot, strided, address, table[name.slot], row.result});
    }
  }
  return entries;
}

// Strides of the strided calls, each its own so that a mix-up shows; elements per kernel call,
// odd so that every call runs blocks and a tail.
constexpr int kStrideA = 3, kStrideB = 5, kStrideR = 2;
constexpr int kCallLength = 4093;

// `n` values `stride` apart, NaN in between.
template <class T>
std::vector<T> Scatter(const T* values, int n, int stride) {
  std::vector<T> spread(size_t(n) * stride, std::numeric_limits<T>::quiet_NaN());
  for (int i = 0; i < n; ++i) spread[size_t(i) * stride] = values[i];
  return spread;
}

// r = f(a) or f(a, b), or the chosen result of two (the other goes to its own array, with the
// input's stride when strided).
template <class T>
void Call(const Entry& entry, int n, const T* a, const T* b, T* r) {
  void* f = entry.address;
  const bool first = entry.result == 1;
  const int sa = entry.strided ? kStrideA : 1, sr = entry.strided ? kStrideR : 1;
  const std::vector<T> spread_a = Scatter(a, n, sa);
  std::vector<T> spread_r(size_t(n) * sr), other(size_t(n) * sa);
  T *rs = spread_r.data(), *os = other.data();
  if (!entry.strided && entry.result != 0)
    reinterpret_cast<void (*)(int, const T*, T*, T*)>(f)(n, a, first ? rs : os, first ? os : rs);
  else if (!entry.strided)
    b ? reinterpret_cast<void (*)(int, const T*, const T*, T*)>(f)(n, a, b, rs)
      : reinterpret_cast<void (*)(int, const T*, T*)>(f)(n, a, rs);
  else if (entry.result != 0)
    reinterpret_cast<void (*)(int, const T*, int, T*, int, T*, int)>(f)(
        n, spread_a.data(), sa, first ? rs : os, first ? sr : sa, first ? os : rs, first ? sa : sr);
  else if (b == nullptr)
    reinterpret_cast<void (*)(int, const T*, int, T*, int)>(f)(n, spread_a.data(), sa, rs, sr);
  else
    reinterpret_cast<void (*)(int, const T*, int, const T*, int, T*, int)>(f)(
        n, spread_a.data(), sa, Scatter(b, n, kStrideB).data(), kStrideB, rs, sr);
  for (int i = 0; i < n; ++i) r[i] = spread_r[size_t(i) * sr];
}

// r[i] = f(a[i]) or f(a[i], b[i]), or the chosen result of two, through `entry`.
template <class T>
void Evaluate(const Entry& entry, const Inputs<T>& inputs, std::vector<T>* results) {
  results->resize(inputs.size());
  for (size_t begin = 0; begin < inputs.size(); begin += kCallLength) {
    const int n = int(std::min<size_t>(kCallLength, inputs.size() - begin));
    Call(entry, n, inputs.a.data() + begin, inputs.b.empty() ? nullptr : inputs.b.data() + begin,
         results->data() + begin);
  }
}

// Sets the calling thread's mode word for its lifetime, then puts the old one back.
struct ScopedMode {
  explicit ScopedMode(unsigned mode) : saved(_temSetMode(mode)) {}
  ~ScopedMode() { _temSetMode(saved); }
  unsigned saved;
};

// High accuracy, errors reported to the status (no callback installed), no flushing; with the
// error field 0x2000 flagged lanes may be settled without the companion.
constexpr unsigned kDefaultMode = TEM_HA | TEM_ERRMODE_DEFAULT | TEM_FTZDAZ_OFF;
constexpr unsigned kNoErrorMode = TEM_HA | TEM_ERRMODE_NOERR | TEM_FTZDAZ_OFF;
// The full sweep's mode: the default without its x87 flag raise, which costs hundreds of cycles
// per reported element; the companions run and report as in the default mode.
constexpr unsigned kSweepMode = kDefaultMode & ~TEM_ERRMODE_EXCEPT;

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_KERNELS_H_
