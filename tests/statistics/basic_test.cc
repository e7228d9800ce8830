// Basic estimates against a long double two-pass reference, streamed chunks, threads; minima and
// maxima. Errors stay below 2^-40 (double) or 2^-11 (float) of each estimate's scale.
#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <string>

#include "support/threading_tables.h"
#include "tests/statistics/harness.h"

namespace ss_test {
namespace {
template <class T>
constexpr Real Tolerance() {
  return sizeof(T) == 8 ? ldexpl(1, -40) : ldexpl(1, -11);
}

// Rounding of a computed mean, relative to |x|, as it enters the central sums' scales.
template <class T>
Real Slack() {
  return std::numeric_limits<T>::epsilon() / sqrtl(Tolerance<T>());
}

template <class T>
void ExpectNear(T got, Real want, Real scale, const std::string& what) {
  if (!isfinite(want)) {
    EXPECT_FALSE(std::isfinite(got)) << what << " got " << got;
    return;
  }
  EXPECT_LE(fabsl(Real(got) - want), Tolerance<T>() * scale)
      << what << " got " << got << " want " << double(want) << " scale " << double(scale);
}

// Every estimate of kAllBasic in h against r (with `user_mean`, the caller's mean stands).
template <class T>
void ExpectMatches(const Harness<T>& h, const Reference& r, bool user_mean) {
  const Real w = r.w;
  for (int64_t v = 0; v < h.p; ++v) {
    const std::string at = " of variable " + std::to_string(v);
    if (!h.Active(v)) {
      for (int id : kVectorIds) EXPECT_EQ(h.arrays.at(id)[v], T(kSentinel)) << id << at;
      continue;
    }
    auto vec = [&](int id) { return h.arrays.at(id)[v]; };
    if (!user_mean) ExpectNear(vec(7), r.mean[v], r.abs_raw[0][v], "mean" + at);
    ExpectNear(vec(67), r.mean[v] * w, r.abs_raw[0][v] * w, "sum" + at);
    Real m[5];  // central moments of orders 2 to 4
    for (int k = 0; k < 3; ++k) {
      const std::string order = std::to_string(k + 2) + at;
      ExpectNear(vec(8 + k), r.raw[k][v], r.abs_raw[k + 1][v], "raw moment " + order);
      ExpectNear(vec(68 + k), r.raw[k][v] * w, r.abs_raw[k + 1][v] * w, "raw sum " + order);
      ExpectNear(vec(71 + k), r.cen[k][v], r.abs_cen[k][v], "central sum " + order);
      const Real f = k == 0 ? 1 / r.CovDivisor() : 1 / w;
      m[k + 2] = r.cen[k][v] * f;
      ExpectNear(vec(11 + k), m[k + 2], r.abs_cen[k][v] * f, "central moment " + order);
    }
    // One observation: no second moment.
    if (r.CovDivisor() == 0) {
      EXPECT_FALSE(std::isfinite(vec(11))) << at;
      continue;
    }
    ExpectNear(vec(14), m[4] / (m[2] * m[2]) - 3, 3 * r.abs_cen[2][v] / w / (m[2] * m[2]),
               "kurtosis" + at);
    const Real cube = sqrtl(m[2] * m[2] * m[2]);
    ExpectNear(vec(15), m[3] / cube, 3 * r.abs_cen[1][v] / w / cube, "skewness" + at);
    const Real mean = user_mean ? Real(h.arrays.at(7)[v]) : r.mean[v];
    ExpectNear(vec(18), sqrtl(m[2]) / mean,
               2 * sqrtl(m[2]) / fabsl(mean) * r.abs_raw[0][v] / fabsl(mean), "variation" + at);
  }
  for (int64_t a = 0; a < h.p; ++a)
    for (int64_t b = a; b < h.p; ++b) {
      const std::string at = " (" + std::to_string(a) + ", " + std::to_string(b) + ")";
      const bool active = h.Active(a) && h.Active(b);
      const Real caa = r.cross[a * h.p + a], cbb = r.cross[b * h.p + b];
      const Real cab = r.cross[a * h.p + b];
      const Real norm = sqrtl(r.abs_cen[0][a] * r.abs_cen[0][b]);
      const Real cov = cab / r.CovDivisor();
      const Real want[3] = {cov, a == b ? cov : cab / sqrtl(caa * cbb), cab};
      const Real scale[3] = {norm / r.CovDivisor(), a == b ? norm / r.CovDivisor() : 1, norm};
      for (int m = 0; m < 3; ++m) {
        const int id = kMatrixIds[m];
        const T* got = h.MatrixAt(id, a, b);
        if (got == nullptr) continue;
        if (!active) {
          EXPECT_EQ(*got, T(kSentinel)) << id << at;
          continue;
        }
        // One observation: cov and cor have no divisor, the cross-product stands.
        if (r.CovDivisor() == 0 && id != 74) continue;
        ExpectNear(*got, want[m], scale[m], "matrix " + std::to_string(id) + at);
        const T lower = h.arrays.at(id)[b * h.p + a];
        if (h.matrix_storage[m] == ROF_SS_MATRIX_FULL && !(std::isnan(lower) && std::isnan(*got)))
          EXPECT_EQ(lower, *got) << "lower triangle " << id << at;
      }
    }
}

// The caller's mean for the user-mean method: near the sample mean, off by a quarter spread.
template <class T>
std::vector<double> UserMean(const Sample& s) {
  std::vector<double> centre;
  for (Real mean : Compute({&s}, nullptr).mean) centre.push_back(static_cast<T>(mean + 0.25));
  return centre;
}

template <class T>
void SetUserMean(Harness<T>& h, const std::vector<double>& centre) {
  for (int64_t v = 0; v < h.p; ++v)
    if (h.Active(v)) h.arrays[7][v] = T(centre[v]);
}

template <class T>
class BasicTest : public ::testing::Test {};
using RealTypes = ::testing::Types<double, float>;
TYPED_TEST_SUITE(BasicTest, RealTypes);

TYPED_TEST(BasicTest, EveryEstimateMatchesReference) {
  using T = TypeParam;
  int form = 0;
  for (int64_t p : {1, 2, 5, 17, 40})
    for (int64_t n : {1, 2, 31, 1000, 100000})
      for (bool weighted : {false, true}) {
#ifndef QOR_FULL_TESTS
        if (n > 1000 && p != 1 && p != 5) continue;  // 10^5 observations of one and five only
#endif
        // The same values in either layout: the reference of one serves both.
        Sample rows = MakeSample(p, n, false, weighted, p * 1000 + n);
        RoundTo<T>(rows);
        const std::vector<double> centre = UserMean<T>(rows);
        const Reference plain = Compute({&rows}, nullptr, Slack<T>());
        const Reference around = Compute({&rows}, centre.data(), Slack<T>());
        for (bool columns : {false, true}) {
          Sample s = columns ? MakeSample(p, n, true, weighted, p * 1000 + n) : rows;
          for (bool subset : {false, true})
            for (uint32_t method :
                 {ROF_SS_METHOD_ONE_PASS, ROF_SS_METHOD_FAST, ROF_SS_METHOD_USER_MEAN}) {
              const int32_t storage = form++ % 3;
              SCOPED_TRACE(testing::Message() << "p " << p << " n " << n << " columns " << columns
                           << " weighted " << weighted << " subset " << subset << " method "
                           << method << " storage " << storage);
              Harness<T> h(s, subset, storage);
              const bool user_mean = method == ROF_SS_METHOD_USER_MEAN;
              if (user_mean) SetUserMean(h, centre);
              ASSERT_EQ(h.Run(kAllBasic, method, qor_support_pool_threading(2)), 0);
              ExpectMatches(h, user_mean ? around : plain, user_mean);
              ExpectNear(h.accum[0], plain.w, plain.w, "accumulated weight");
              if (::testing::Test::HasFailure()) return;
            }
        }
      }
}

// k calls on consecutive chunks, weights given, against the reference of the whole.
TYPED_TEST(BasicTest, ChunkedCallsContinueTheRun) {
  using T = TypeParam;
  const T kClose = std::sqrt(std::numeric_limits<T>::epsilon());
  constexpr int64_t kTotal = 3000, kP = 4;
  for (uint32_t method : {ROF_SS_METHOD_ONE_PASS, ROF_SS_METHOD_FAST, ROF_SS_METHOD_USER_MEAN})
    for (bool columns : {false, true})
      for (int64_t k : {1, 2, 7, 100}) {
        SCOPED_TRACE(testing::Message() << "method " << method << " chunks " << k << " columns "
                     << columns);
        std::vector<Sample> chunks(k);
        std::vector<const Sample*> all;
        for (int64_t c = 0; c < k; ++c) {
          chunks[c] = MakeSample(kP, kTotal / k, columns, true, 77 + c);
          RoundTo<T>(chunks[c]);
          all.push_back(&chunks[c]);
        }
        Harness<T> h(chunks[0], true, int32_t(k % 3));
        const bool user_mean = method == ROF_SS_METHOD_USER_MEAN;
        const std::vector<double> centre = UserMean<T>(chunks[0]);
        if (user_mean) SetUserMean(h, centre);
        // Without the sums, a run continues from the moments; it must agree with the sums' run.
        Harness<T> m(chunks[0], true, int32_t(k % 3));
        if (user_mean) SetUserMean(m, centre);
        for (Sample& c : chunks) {
          std::vector<T> x(c.x.begin(), c.x.end()), w(c.weights.begin(), c.weights.end());
          for (Harness<T>* g : {&h, &m}) {
            g->n = int32_t(c.n);
            Edit(g->task, ROF_SS_ED_OBSERV, x.data());
            Edit(g->task, ROF_SS_ED_WEIGHTS, w.data());
            const uint64_t estimates = g == &h ? kAllBasic : kMoments;
            ASSERT_EQ(g->Run(estimates, method, qor_support_pool_threading(2)), 0);
          }
        }
        ExpectMatches(h, Compute(all, user_mean ? centre.data() : nullptr, Slack<T>()), user_mean);
        for (int id : kMomentIds)
          for (size_t i = 0; i < h.arrays[id].size(); ++i) {
            const T want = h.arrays[id][i];
            EXPECT_NEAR(m.arrays[id][i], want, kClose * (1 + std::fabs(want))) << id << " " << i;
          }
        if (::testing::Test::HasFailure()) return;
      }
}

// Runs the bodies in reverse order on the calling thread and answers g_threads.
int g_threads = 1;
int ReverseFor(int64_t total, int64_t blocks, void* args, qorThreadBody body) {
  for (int64_t i = blocks - 1; i >= 0; --i) body(i, blocks, total, args);
  return 0;
}
int Count(int64_t, int64_t, int64_t, int64_t) { return g_threads; }
const qorThreading kReverse = {ReverseFor, {}, Count};

TYPED_TEST(BasicTest, BlockResultsDoNotDependOnTheThreads) {
  using T = TypeParam;
  for (uint32_t method : {ROF_SS_METHOD_ONE_PASS, ROF_SS_METHOD_FAST, ROF_SS_METHOD_USER_MEAN})
    for (int threads : {2, 4, 8}) {
      SCOPED_TRACE(testing::Message() << "method " << method << " threads " << threads);
      g_threads = threads;
      Sample s = MakeSample(5, 20000, threads == 4, true, 5);
      Harness<T> a(s, false, 0), b(s, false, 0);
      for (Harness<T>* h : {&a, &b})
        if (method == ROF_SS_METHOD_USER_MEAN) SetUserMean(*h, UserMean<T>(s));
      ASSERT_EQ(a.Run(kAllBasic, method, &kReverse), 0);
      ASSERT_EQ(b.Run(kAllBasic, method, qor_support_pool_threading(threads)), 0);
      for (const auto& [id, values] : a.arrays) EXPECT_EQ(values, b.arrays.at(id)) << id;
      EXPECT_EQ(a.accum[0], b.accum[0]);
      EXPECT_EQ(a.accum[1], b.accum[1]);
    }
}

// Derivations from sums, cross-product and weights reproduce the computed results.
TYPED_TEST(BasicTest, DerivationsMatchComputedResults) {
  using T = TypeParam;
  Sample s = MakeSample(6, 500, false, true, 9);
  Harness<T> h(s, true, ROF_SS_MATRIX_PACKED);
  ASSERT_EQ(h.Run(kAllBasic, ROF_SS_METHOD_ONE_PASS), 0);
  const auto computed = h.arrays;
  for (int id : kMomentIds)
    for (int64_t i = 0; i < h.p; ++i) h.arrays[id][i] = T(kSentinel);
  const T accum = h.accum[0];
  ASSERT_EQ(h.Run(kMoments, ROF_SS_METHOD_FROM_CP | ROF_SS_METHOD_FROM_SUMS), 0);
  EXPECT_EQ(h.accum[0], accum);
  for (const auto& [id, values] : computed)
    for (size_t i = 0; i < values.size(); ++i) {
      const T got = h.arrays[id][i], want = values[i];
      const T tol = T(64) * std::numeric_limits<T>::epsilon() * (1 + std::fabs(want));
      EXPECT_NEAR(got, want, tol) << "id " << id << " entry " << i;
    }
}

TEST(SSMinmax, FoldsEveryMarkedVariableIntoTheArrays) {
  for (bool columns : {false, true})
    for (bool subset : {false, true}) {
      Sample s = MakeSample(5, 333, columns, false, 11);
      Harness<float> h(s, subset, 0);
      std::vector<float> lo(5, 4.0f), hi(5, 4.5f);  // inside every range but variable 0's
      Edit(h.task, ROF_SS_ED_MINIMUM, lo.data());
      Edit(h.task, ROF_SS_ED_MAXIMUM, hi.data());
      ASSERT_EQ(_rofsSSMinmax(h.task, ROF_SS_MIN | ROF_SS_MAX, ROF_SS_METHOD_FAST), 0);
      for (int64_t v = 0; v < 5; ++v) {
        float want_lo = 4.0f, want_hi = 4.5f;
        for (int64_t i = 0; i < 333; ++i) {
          want_lo = std::min(want_lo, float(s.At(v, i)));
          want_hi = std::max(want_hi, float(s.At(v, i)));
        }
        EXPECT_EQ(lo[v], h.Active(v) ? want_lo : 4.0f) << v;
        EXPECT_EQ(hi[v], h.Active(v) ? want_hi : 4.5f) << v;
      }
    }
}

}  // namespace
}  // namespace ss_test
