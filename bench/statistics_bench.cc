// Basic statistics on p = 10 variables and n = 10^6 observations, in both storage forms:
// qor's one-pass and fast methods, serially and with two pool threads, against GSL and against
// plain one-pass (Welford) and two-pass loops. After the usual output, a table of ms per call
// and the ratios qor/(the better plain loop).
#include <benchmark/benchmark.h>
#include <gsl/gsl_statistics_double.h>
#include <math.h>
#include <stdio.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "qor/ss.h"
#include "support/threading_tables.h"

namespace {

constexpr int kP = 10;
constexpr int kN = 1000000;

enum Estimate { kMean, kMeanVar, kMoments, kCov, kCor, kMinMax, kEstimates };
const char* const kEstimateNames[] = {"mean", "mean+var", "moments1-4", "cov", "cor", "min+max"};
const uint64_t kMasks[] = {
    ROF_SS_MEAN,
    ROF_SS_MEAN | ROF_SS_CEN_MOM2,
    ROF_SS_MEAN | ROF_SS_RAW_MOM2 | ROF_SS_RAW_MOM3 | ROF_SS_RAW_MOM4 | ROF_SS_CEN_MOM2 |
        ROF_SS_CEN_MOM3 | ROF_SS_CEN_MOM4,
    ROF_SS_MEAN | ROF_SS_COV,
    ROF_SS_MEAN | ROF_SS_COR,
    ROF_SS_MIN | ROF_SS_MAX,
};

// Observations of both layouts: x(v, i) at rows[v * n + i] and columns[i * p + v].
struct Data {
  std::vector<double> rows, columns;
  Data() : rows(size_t(kP) * kN), columns(size_t(kP) * kN) {
    std::mt19937_64 gen(42);
    std::normal_distribution<double> g(0.0, 1.0);
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) rows[size_t(v) * kN + i] = columns[size_t(i) * kP + v] = 5 + v + g(gen);
  }
};
const Data& TheData() {
  static const Data data;
  return data;
}

// Results of every kind, for qor and for the loops.
struct Out {
  double mean[kP], raw[3][kP], cen[3][kP], cov[kP * kP], cor[kP * kP], lo[kP], hi[kP];
};

// ---- Plain loops. x(v, i) = x[v * sv + i * si].

void LoopMean(const double* x, int64_t sv, int64_t si, Out& o) {
  double s[kP] = {};
  if (si == 1) {
    for (int v = 0; v < kP; ++v)
      for (int i = 0; i < kN; ++i) s[v] += x[v * sv + i];
  } else {
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) s[v] += x[i * si + v];
  }
  for (int v = 0; v < kP; ++v) o.mean[v] = s[v] / kN;
}

// First pass: means, and for order 4 the raw moments 2 to 4 by power sums (the moments
// request of qor gives them too).
void LoopPowers(const double* x, int64_t sv, int64_t si, int order, Out& o) {
  double r[4][kP] = {};
  auto add = [&](int v, double value) {
    r[0][v] += value;
    if (order > 2) {
      const double x2 = value * value;
      r[1][v] += x2;
      r[2][v] += x2 * value;
      r[3][v] += x2 * x2;
    }
  };
  if (si == 1) {
    for (int v = 0; v < kP; ++v)
      for (int i = 0; i < kN; ++i) add(v, x[v * sv + i]);
  } else {
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) add(v, x[i * si + v]);
  }
  for (int v = 0; v < kP; ++v) {
    o.mean[v] = r[0][v] / kN;
    for (int k = 0; k < 3; ++k) o.raw[k][v] = r[k + 1][v] / kN;
  }
}

// Two passes: means (and raw moments), then central power sums up to `order`.
void LoopTwoPass(const double* x, int64_t sv, int64_t si, int order, Out& o) {
  LoopPowers(x, sv, si, order, o);
  double c[3][kP] = {};
  auto add = [&](int v, double value) {
    const double d = value - o.mean[v], d2 = d * d;
    c[0][v] += d2;
    if (order > 2) {
      c[1][v] += d2 * d;
      c[2][v] += d2 * d2;
    }
  };
  if (si == 1) {
    for (int v = 0; v < kP; ++v)
      for (int i = 0; i < kN; ++i) add(v, x[v * sv + i]);
  } else {
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) add(v, x[i * si + v]);
  }
  for (int v = 0; v < kP; ++v) o.cen[0][v] = c[0][v] / (kN - 1);
  if (order > 2)
    for (int v = 0; v < kP; ++v) {
      o.cen[1][v] = c[1][v] / kN;
      o.cen[2][v] = c[2][v] / kN;
    }
}

// One pass, Welford's running update (order 4 and raw power sums when asked).
void LoopOnePass(const double* x, int64_t sv, int64_t si, int order, Out& o) {
  double m[kP] = {}, m2[kP] = {}, m3[kP] = {}, m4[kP] = {}, r[3][kP] = {};
  auto add = [&](int v, double value, double n1) {
    const double delta = value - m[v], dn = delta / n1, t = delta * dn * (n1 - 1);
    if (order > 2) {
      const double x2 = value * value;
      r[0][v] += x2;
      r[1][v] += x2 * value;
      r[2][v] += x2 * x2;
      m4[v] += t * dn * dn * (n1 * n1 - 3 * n1 + 3) + 6 * dn * dn * m2[v] - 4 * dn * m3[v];
      m3[v] += t * dn * (n1 - 2) - 3 * dn * m2[v];
    }
    m2[v] += t;
    m[v] += dn;
  };
  if (si == 1) {
    for (int v = 0; v < kP; ++v)
      for (int i = 0; i < kN; ++i) add(v, x[v * sv + i], i + 1.0);
  } else {
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) add(v, x[i * si + v], i + 1.0);
  }
  for (int v = 0; v < kP; ++v) {
    o.mean[v] = m[v];
    o.cen[0][v] = m2[v] / (kN - 1);
    o.cen[1][v] = m3[v] / kN;
    o.cen[2][v] = m4[v] / kN;
    for (int k = 0; k < 3; ++k) o.raw[k][v] = r[k][v] / kN;
  }
}

// Covariance (and correlation), one observation after the other across the variables.
void LoopCov(const double* x, int64_t sv, int64_t si, bool one_pass, bool cor, Out& o) {
  double m[kP] = {}, c[kP * kP] = {}, d[kP];
  if (!one_pass) LoopMean(x, sv, si, o);
  for (int i = 0; i < kN; ++i) {
    const double n1 = i + 1.0;
    for (int v = 0; v < kP; ++v) d[v] = x[v * sv + i * si] - (one_pass ? m[v] : o.mean[v]);
    if (one_pass) {
      const double g = (n1 - 1) / n1;
      for (int a = 0; a < kP; ++a)
        for (int b = a; b < kP; ++b) c[a * kP + b] += d[a] * d[b] * g;
      for (int v = 0; v < kP; ++v) m[v] += d[v] / n1;
    } else {
      for (int a = 0; a < kP; ++a)
        for (int b = a; b < kP; ++b) c[a * kP + b] += d[a] * d[b];
    }
  }
  for (int a = 0; a < kP; ++a)
    for (int b = a; b < kP; ++b) o.cov[a * kP + b] = o.cov[b * kP + a] = c[a * kP + b] / (kN - 1);
  if (cor)
    for (int a = 0; a < kP; ++a)
      for (int b = 0; b < kP; ++b)
        o.cor[a * kP + b] = o.cov[a * kP + b] / sqrt(o.cov[a * kP + a] * o.cov[b * kP + b]);
}

void LoopMinMax(const double* x, int64_t sv, int64_t si, Out& o) {
  for (int v = 0; v < kP; ++v) o.lo[v] = o.hi[v] = x[v * sv];
  if (si == 1) {
    for (int v = 0; v < kP; ++v)
      for (int i = 0; i < kN; ++i) {
        const double value = x[v * sv + i];
        if (value < o.lo[v]) o.lo[v] = value;
        if (value > o.hi[v]) o.hi[v] = value;
      }
  } else {
    for (int i = 0; i < kN; ++i)
      for (int v = 0; v < kP; ++v) {
        const double value = x[i * si + v];
        if (value < o.lo[v]) o.lo[v] = value;
        if (value > o.hi[v]) o.hi[v] = value;
      }
  }
}

void RunLoop(Estimate e, bool one_pass, const double* x, int64_t sv, int64_t si, Out& o) {
  switch (e) {
    case kMean: return LoopMean(x, sv, si, o);
    case kMeanVar:
      return one_pass ? LoopOnePass(x, sv, si, 2, o) : LoopTwoPass(x, sv, si, 2, o);
    case kMoments:
      return one_pass ? LoopOnePass(x, sv, si, 4, o) : LoopTwoPass(x, sv, si, 4, o);
    case kCov: return LoopCov(x, sv, si, one_pass, false, o);
    case kCor: return LoopCov(x, sv, si, one_pass, true, o);
    case kMinMax: return LoopMinMax(x, sv, si, o);
    default: return;
  }
}

void RunGsl(Estimate e, const double* x, int64_t sv, int64_t si, Out& o) {
  for (int v = 0; v < kP; ++v) {
    const double* col = x + v * sv;
    switch (e) {
      case kMean: o.mean[v] = gsl_stats_mean(col, si, kN); break;
      case kMeanVar:
        o.mean[v] = gsl_stats_mean(col, si, kN);
        o.cen[0][v] = gsl_stats_variance_m(col, si, kN, o.mean[v]);
        break;
      case kMoments: {
        o.mean[v] = gsl_stats_mean(col, si, kN);
        o.cen[0][v] = gsl_stats_variance_m(col, si, kN, o.mean[v]);
        const double sd = sqrt(o.cen[0][v]);
        o.cen[1][v] = gsl_stats_skew_m_sd(col, si, kN, o.mean[v], sd);
        o.cen[2][v] = gsl_stats_kurtosis_m_sd(col, si, kN, o.mean[v], sd);
        break;
      }
      case kCov:
      case kCor:
        for (int b = v; b < kP; ++b)
          o.cov[v * kP + b] = e == kCov ? gsl_stats_covariance(col, si, x + b * sv, si, kN)
                                        : gsl_stats_correlation(col, si, x + b * sv, si, kN);
        break;
      case kMinMax: gsl_stats_minmax(&o.lo[v], &o.hi[v], col, si, kN); break;
      default: break;
    }
  }
}

// A qor task over one layout with every result array of `o` attached.
struct QorTask {
  rofSSTask* task = nullptr;
  int32_t p = kP, n = kN, storage, full = ROF_SS_MATRIX_FULL;
  double accum[2] = {0, 0};
  QorTask(const double* x, bool columns, Out& o) {
    storage = columns ? ROF_SS_OBSERV_COLUMNS : ROF_SS_OBSERV_ROWS;
    __rofdSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr, 0);
    __rofdSSEditMoments(task, o.mean, o.raw[0], o.raw[1], o.raw[2], o.cen[0], o.cen[1], o.cen[2]);
    __rofdSSEditCovCor(task, nullptr, o.cov, &full, o.cor, &full);
    __rofdSSEditTask(task, ROF_SS_ED_MINIMUM, o.lo);
    __rofdSSEditTask(task, ROF_SS_ED_MAXIMUM, o.hi);
    __rofdSSEditTask(task, ROF_SS_ED_ACCUM_WEIGHT, accum);
  }
  ~QorTask() { __rofSSDeleteTask(&task); }
};

void Register(bool columns, Estimate e, const std::string& side) {
  const std::string name =
      std::string(columns ? "columns/" : "rows/") + kEstimateNames[e] + "/" + side;
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const Data& data = TheData();
    const double* x = columns ? data.columns.data() : data.rows.data();
    const int64_t sv = columns ? 1 : kN, si = columns ? kP : 1;
    Out o{};
    if (side.rfind("qor", 0) == 0) {
      QorTask q(x, columns, o);
      const uint32_t method = side.find("fast") != std::string::npos ? ROF_SS_METHOD_FAST
                                                                     : ROF_SS_METHOD_ONE_PASS;
      const qorThreading* threading = side.find("2t") != std::string::npos
                                          ? qor_support_pool_threading(2)
                                          : qor_support_serial_threading();
      for (auto _ : state) {
        q.accum[0] = q.accum[1] = 0;
        if (e == kMinMax) {
          for (int v = 0; v < kP; ++v) o.lo[v] = o.hi[v] = x[v * sv];
          _rofdSSMinmax(q.task, kMasks[e], method);
        } else {
          _rofdSSBasic(q.task, kMasks[e], method, threading);
        }
        benchmark::DoNotOptimize(o);
      }
    } else if (side == "gsl") {
      for (auto _ : state) {
        RunGsl(e, x, sv, si, o);
        benchmark::DoNotOptimize(o);
      }
    } else {
      for (auto _ : state) {
        RunLoop(e, side == "loop1p", x, sv, si, o);
        benchmark::DoNotOptimize(o);
      }
    }
    state.SetItemsProcessed(state.iterations() * int64_t(kP) * kN);
  })->Unit(benchmark::kMillisecond)->UseRealTime();
}

const char* const kSides[] = {"qor1p", "qor1p_2t", "qorfast", "qorfast_2t",
                              "loop1p", "loop2p", "gsl"};

// The console output, then ms per call (median run when repeated) and the ratios to the
// better plain loop, below 1 when faster.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      // "rows/cov/qor1p/real_time": layout/estimate/side.
      std::string name = run.run_name.str();
      name = name.substr(0, name.rfind("/real_time"));
      const size_t cut = name.rfind('/');
      ms_[name.substr(0, cut)][name.substr(cut + 1)] = run.GetAdjustedRealTime();
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-22s", "layout/estimate");
    for (const char* side : kSides) std::printf(" %10s", side);
    std::printf("   ratios to the better loop: 1p 1p_2t fast fast_2t gsl\n");
    for (const auto& [key, sides] : ms_) {
      auto ms = [&](const char* side) {
        const auto it = sides.find(side);
        return it == sides.end() ? NAN : it->second;
      };
      std::printf("%-22s", key.c_str());
      for (const char* side : kSides) std::printf(" %10.2f", ms(side));
      const double best = fmin(ms("loop1p"), ms("loop2p"));
      std::printf("   %5.2f %5.2f %5.2f %5.2f %6.2f\n", ms("qor1p") / best, ms("qor1p_2t") / best,
                  ms("qorfast") / best, ms("qorfast_2t") / best, ms("gsl") / best);
    }
  }

 private:
  std::map<std::string, std::map<std::string, double>> ms_;
};

}  // namespace

int main(int argc, char** argv) {
  for (bool columns : {false, true})
    for (int e = 0; e < kEstimates; ++e)
      for (const char* side : kSides) {
        // min+max has no method or threads of its own: one qor row.
        if (e == kMinMax && std::string(side) != "qor1p" && std::string(side).rfind("qor", 0) == 0)
          continue;
        Register(columns, Estimate(e), side);
      }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
