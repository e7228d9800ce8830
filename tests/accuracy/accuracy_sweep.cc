// Full accuracy sweep (usage and output: README.md): every float for the s functions of one
// input, --count inputs for the others, through every exported entry, on --threads threads.
#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"
#include "tests/accuracy/kernels.h"
#include "tests/accuracy/measure.h"

namespace accuracy {
namespace {

struct Options {
  std::string filter = ".*";  // must match a whole function name
  int threads = 2;
  uint64_t count = 10'000'000, float_step = 1;
};

constexpr uint64_t kChunk = 1 << 16;  // inputs per unit of work

// The first entry of each group of entries that reach the same kernel, and each entry's group.
std::vector<Entry> GroupByKernel(const std::vector<Entry>& entries, std::vector<size_t>* group_of) {
  std::vector<Entry> groups;
  for (const Entry& e : entries) {
    size_t g = 0;
    while (g < groups.size() && (groups[g].kernel != e.kernel || groups[g].strided != e.strided))
      ++g;
    if (g == groups.size()) groups.push_back(e);
    group_of->push_back(g);
  }
  return groups;
}

// Chunk `chunk` of the inputs: for an all-floats sweep the bit patterns in order; otherwise the
// special values first, then the random draws in turn.
template <class T>
Inputs<T> ChunkInputs(const FunctionRow& row, bool all_floats, uint64_t chunk, uint64_t step) {
  if (all_floats) {
    Inputs<T> inputs;
    for (uint64_t i = 0; i < kChunk; ++i)
      inputs.a.push_back(std::bit_cast<T>(Bits<T>((chunk * kChunk + i) * step)));
    return inputs;
  }
  if (chunk == 0) return SpecialInputs<T>(row);
  const std::vector<Draw> draws = DrawsOf(row);
  return RandomInputs<T>(row, draws[chunk % draws.size()], kChunk, 0x5EED0000u + chunk);
}

// The expectations of an all-floats chunk from the double libm function; MPFR decides where
// that lies too close to a float or a midpoint, when some kernel's result differs from it.
std::vector<Expected<float>> ExpectationsFromLibm(const FunctionRow& row,
                                                  const Inputs<float>& inputs,
                                                  const std::vector<std::vector<float>>& results,
                                                  mpfr_ptr x, mpfr_ptr y) {
  std::vector<Expected<float>> expected(inputs.size());
  for (size_t i = 0; i < inputs.size(); ++i) {
    const double reference = row.libm(inputs.a[i]);
    expected[i] = FromDouble(reference, row.libm_exact);
    if (!NeedsExactReference(reference, row.libm_exact)) continue;
    const uint32_t rounded = std::bit_cast<uint32_t>(expected[i].rounded);
    for (const std::vector<float>& r : results) {
      if (std::bit_cast<uint32_t>(r[i]) != rounded) {
        expected[i] = ExactExpectation(row, inputs.a[i], x, y);
        break;
      }
    }
  }
  return expected;
}

// Sweeps one row on the threads, each kernel once, and prints its lines; false when one fails.
template <class T>
bool SweepRow(const FunctionRow& row, const std::vector<Entry>& entries, const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  std::vector<size_t> group_of;
  const std::vector<Entry> groups = GroupByKernel(entries, &group_of);
  const bool all_floats = sizeof(T) == 4 && row.arity() == 1 && row.libm != nullptr;
  const uint64_t chunks = all_floats ? (uint64_t(1) << 32) / kChunk / options.float_step
                                     : 1 + (options.count + kChunk - 1) / kChunk;
  std::vector<ErrorStats<T>> total(groups.size());
  std::mutex merge;
  auto work = [&](int thread) {
    ScopedMode mode(kSweepMode);
    mpfr_t x, y;
    mpfr_init2(x, std::numeric_limits<T>::digits);
    mpfr_init2(y, kReferencePrecision);
    std::vector<ErrorStats<T>> stats(groups.size());
    std::vector<std::vector<T>> results(groups.size());
    for (uint64_t chunk = thread; chunk < chunks; chunk += options.threads) {
      const Inputs<T> inputs = ChunkInputs<T>(row, all_floats, chunk, options.float_step);
      for (size_t g = 0; g < groups.size(); ++g) Evaluate(groups[g], inputs, &results[g]);
      std::vector<Expected<T>> expected;
      if constexpr (sizeof(T) == 4) {
        if (all_floats) expected = ExpectationsFromLibm(row, inputs, results, x, y);
      }
      if (!all_floats) expected = ExactExpectations(row, inputs);
      for (size_t g = 0; g < groups.size(); ++g) Measure(inputs, results[g], expected, &stats[g]);
    }
    mpfr_clears(x, y, static_cast<mpfr_ptr>(nullptr));
    mpfr_free_cache();
    std::lock_guard<std::mutex> lock(merge);
    for (size_t g = 0; g < groups.size(); ++g) total[g].Merge(stats[g]);
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < options.threads; ++t) threads.emplace_back(work, t);
  for (std::thread& t : threads) t.join();
  bool passed = true;
  for (size_t i = 0; i < entries.size(); ++i) {
    const Entry& e = entries[i];
    const ErrorStats<T>& s = total[group_of[i]];
    const std::string& first = groups[group_of[i]].symbol;
    std::printf("%-8s %-16s %4d %12llu  %s  %s\n", row.name.c_str(), e.symbol.c_str(), e.slot,
                static_cast<unsigned long long>(total[0].count), s.Passed() ? "ok  " : "FAIL",
                first == e.symbol ? s.Describe(row.arity() == 2).c_str()
                                  : ("same kernel as " + first).c_str());
    passed = passed && s.Passed();
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-8s %.1f s\n", row.name.c_str(), seconds.count());
  std::fflush(stdout);
  return passed;
}

bool ParseOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const char* v = std::strchr(argv[i], '=');
    const std::string key(argv[i], v == nullptr ? 0 : v - argv[i]);
    const uint64_t n = v == nullptr ? 0 : std::strtoull(v + 1, nullptr, 10);
    if (key == "--filter") options->filter = v + 1;
    else if (key == "--threads") options->threads = std::max(1, std::atoi(v + 1));
    else if (key == "--count") options->count = n;
    else if (key == "--float-step") options->float_step = std::max<uint64_t>(1, n);
    else return false;
  }
  return true;
}

int Main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, &options)) {
    std::fprintf(stderr, "usage: %s [--filter=RE] [--threads=N] [--count=N] [--float-step=K]\n",
                 argv[0]);
    return 2;
  }
  const std::regex filter(options.filter);
  std::printf("%-8s %-16s %4s %12s  %s\n", "function", "entry", "slot", "inputs",
              "max error, at the worst input");
  bool passed = true;
  int swept = 0;
  for (const FunctionRow& row : Functions()) {
    if (!std::regex_match(row.name, filter)) continue;
    const std::vector<Entry> entries = ExportedEntries(row);
    if (entries.empty()) {
      std::printf("%-8s no kernel in this build\n", row.name.c_str());
      continue;
    }
    ++swept;
    passed = (row.type() == 's' ? SweepRow<float>(row, entries, options)
                                : SweepRow<double>(row, entries, options)) &&
             passed;
  }
  if (swept == 0) std::printf("no function with a kernel matches '%s'\n", options.filter.c_str());
  std::printf("%s\n", passed ? "all below 1 ulp" : "FAILED");
  return passed ? 0 : 1;
}

}  // namespace
}  // namespace accuracy

int main(int argc, char** argv) { return accuracy::Main(argc, argv); }
