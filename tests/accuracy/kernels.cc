#include "tests/accuracy/kernels.h"

#include <dlfcn.h>

#include <algorithm>
#include <limits>

#include "qor/tem.h"

namespace accuracy {

std::vector<Entry> ExportedEntries(const FunctionRow& row) {
  const bool single = row.type() == 's' || row.type() == 'c';
  const struct {
    const char* suffix;
    int slot;
  } names[] = {{"", 1}, {"_HA", 1}, {single ? "_21" : "_50", 0}, {single ? "_11" : "_26", 2}};
  std::vector<Entry> entries;
  for (bool strided : {false, true}) {
    const std::string function = row.function() + (strided ? "I" : "");
    const auto* table = static_cast<void* const*>(
        dlsym(RTLD_DEFAULT, ("qor_tem_kernel_" + function + "_ttab").c_str()));
    if (table == nullptr) continue;
    for (const auto& name : names) {
      const std::string symbol = "_tem" + function + name.suffix;
      void* address = dlsym(RTLD_DEFAULT, symbol.c_str());
      if (address != nullptr)
        entries.push_back({symbol, name.slot, strided, address, table[name.slot], row.result});
    }
  }
  return entries;
}

namespace {

// Spreads `n` values `stride` apart, NaN in between.
template <class T>
std::vector<T> Scatter(const T* values, int n, int stride) {
  std::vector<T> spread(static_cast<size_t>(n) * stride, std::numeric_limits<T>::quiet_NaN());
  for (int i = 0; i < n; ++i) spread[static_cast<size_t>(i) * stride] = values[i];
  return spread;
}

// r = f(a) or f(a, b), or the chosen result of two (the other goes to its own array, with the
// input's stride when strided).
template <class T>
void Call(const Entry& entry, int n, const T* a, const T* b, T* r) {
  void* f = entry.address;
  const bool first = entry.result == 1;
  if (!entry.strided) {
    std::vector<T> other(n);
    if (entry.result != 0)
      reinterpret_cast<void (*)(int, const T*, T*, T*)>(f)(n, a, first ? r : other.data(),
                                                          first ? other.data() : r);
    else if (b != nullptr)
      reinterpret_cast<void (*)(int, const T*, const T*, T*)>(f)(n, a, b, r);
    else
      reinterpret_cast<void (*)(int, const T*, T*)>(f)(n, a, r);
    return;
  }
  const std::vector<T> spread_a = Scatter(a, n, kStrideA);
  std::vector<T> spread_r(size_t(n) * kStrideR), other(size_t(n) * kStrideA);
  T *rs = spread_r.data(), *os = other.data();
  if (entry.result != 0)
    reinterpret_cast<void (*)(int, const T*, int, T*, int, T*, int)>(f)(
        n, spread_a.data(), kStrideA, first ? rs : os, first ? kStrideR : kStrideA,
        first ? os : rs, first ? kStrideA : kStrideR);
  else if (b == nullptr)
    reinterpret_cast<void (*)(int, const T*, int, T*, int)>(f)(n, spread_a.data(), kStrideA, rs,
                                                               kStrideR);
  else
    reinterpret_cast<void (*)(int, const T*, int, const T*, int, T*, int)>(f)(
        n, spread_a.data(), kStrideA, Scatter(b, n, kStrideB).data(), kStrideB, rs, kStrideR);
  for (int i = 0; i < n; ++i) r[i] = spread_r[size_t(i) * kStrideR];
}

}  // namespace

template <class T>
void Evaluate(const Entry& entry, const Inputs<T>& inputs, std::vector<T>* results) {
  results->resize(inputs.size());
  for (size_t begin = 0; begin < inputs.size(); begin += kCallLength) {
    const int n = static_cast<int>(std::min<size_t>(kCallLength, inputs.size() - begin));
    Call(entry, n, inputs.a.data() + begin, inputs.b.empty() ? nullptr : inputs.b.data() + begin,
         results->data() + begin);
  }
}

template void Evaluate<float>(const Entry&, const Inputs<float>&, std::vector<float>*);
template void Evaluate<double>(const Entry&, const Inputs<double>&, std::vector<double>*);

ScopedMode::ScopedMode(unsigned mode) : saved_(_temSetMode(mode)) {}
ScopedMode::~ScopedMode() { _temSetMode(saved_); }

unsigned DefaultMode() { return TEM_HA | TEM_ERRMODE_DEFAULT | TEM_FTZDAZ_OFF; }
unsigned NoErrorMode() { return TEM_HA | TEM_ERRMODE_NOERR | TEM_FTZDAZ_OFF; }
unsigned SweepMode() { return DefaultMode() & ~TEM_ERRMODE_EXCEPT; }

}  // namespace accuracy
