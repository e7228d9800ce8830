// A console reporter that, after the usual output, prints for each "function/side/n:N"
// benchmark the ns per element of every side and the ratio of qor to each peer, below 1 when
// qor is faster. Repeated benchmarks count by their fastest repetition when the repetitions are
// reported (other processes on a shared machine only ever slow a run down), else by the median.
#ifndef QOR_BENCH_RATIO_TABLE_H_
#define QOR_BENCH_RATIO_TABLE_H_

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioTable : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (run.run_type == Run::RT_Aggregate && !median) continue;
      const auto items = run.counters.find("items_per_second");
      if (items == run.counters.end() || items->second.value <= 0) continue;
      const std::string name = run.run_name.str();
      const size_t first = name.find('/'), second = name.find('/', first + 1);
      const std::string key = name.substr(0, first) + " " + name.substr(second + 3);
      const std::string side = name.substr(first + 1, second - first - 1);
      const double ns = 1e9 / items->second.value;
      if (median) {
        median_[key][side] = ns;
      } else if (fastest_[key].count(side) == 0 || ns < fastest_[key][side]) {
        fastest_[key][side] = ns;
      }
    }
    // The fastest repetition where there is one, the median otherwise.
    for (const auto& [key, sides] : median_) ns_[key] = sides;
    for (const auto& [key, sides] : fastest_) {
      for (const auto& [side, ns] : sides) ns_[key][side] = ns;
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-24s %10s   %s\n", "function n", "qor ns", "peer: ns, qor/peer");
    for (const auto& [key, sides] : ns_) {
      const auto qor = sides.find("qor");
      if (qor == sides.end()) continue;
      std::printf("%-24s %10.3f  ", key.c_str(), qor->second);
      for (const auto& [side, ns] : sides) {
        if (side != "qor") std::printf("  %s: %.3f, %.2f", side.c_str(), ns, qor->second / ns);
      }
      std::printf("\n");
    }
  }

 protected:
  // ns per element by "function n", then by side.
  const std::map<std::string, std::map<std::string, double>>& ns() const { return ns_; }

 private:
  std::map<std::string, std::map<std::string, double>> ns_, median_, fastest_;
};

#endif  // QOR_BENCH_RATIO_TABLE_H_
