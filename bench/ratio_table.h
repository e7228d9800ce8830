// A console reporter that, after the usual output, prints for each "function/side/n:N"
// benchmark the ns per element of every side (median run when repeated) and the ratio of qor
// to each peer, below 1 when qor is faster.
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
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      const auto items = run.counters.find("items_per_second");
      if (items == run.counters.end() || items->second.value <= 0) continue;
      const std::string name = run.run_name.str();
      const size_t first = name.find('/'), second = name.find('/', first + 1);
      const std::string key = name.substr(0, first) + " " + name.substr(second + 3);
      ns_[key][name.substr(first + 1, second - first - 1)] = 1e9 / items->second.value;
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
  std::map<std::string, std::map<std::string, double>> ns_;
};

#endif  // QOR_BENCH_RATIO_TABLE_H_
