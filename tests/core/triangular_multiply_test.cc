// Triangular multiplies (own loops, system BLAS, packed) against a dense triple loop, for every
// side, triangle, transposition and diagonal, with the unused entries of A set to NaN.
#include <math.h>

#include <limits>
#include <random>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "qor/core_blas.h"

namespace {

template <class T>
struct Routines;
template <>
struct Routines<double> {
  static constexpr auto kOwn = qor_blas_xdtrmm_4tem;
  static constexpr auto kBlas = qor_blas4tem_dtrmm;
  static constexpr auto kPacked = qor_blas4tem_dptrmm;
};
template <>
struct Routines<float> {
  static constexpr auto kOwn = qor_blas_xstrmm_4tem;
  static constexpr auto kBlas = qor_blas4tem_strmm;
  static constexpr auto kPacked = qor_blas4tem_sptrmm;
};

enum class Form { kOwn, kBlas, kPacked };

struct Case {
  char side, uplo, trans, diag;
};

// Every combination, in the mixed case letters a caller may pass.
std::vector<Case> AllCases() {
  std::vector<Case> cases;
  for (char side : {'L', 'r'})
    for (char uplo : {'U', 'l'})
      for (char trans : {'N', 't', 'C'})
        for (char diag : {'N', 'u'}) cases.push_back({side, uplo, trans, diag});
  return cases;
}

bool Is(char c, char letter) { return c == letter || c == letter - 'A' + 'a'; }

template <class T>
class TriangularMultiplyTest : public ::testing::Test {
 protected:
  // Runs one form on B (m x n, ldb = m + 2) and checks every element against the dense product
  // within a rounding bound; the two padding rows must stay as they were.
  void Check(Form form, const Case& c, int m, int n, T alpha) {
    SCOPED_TRACE(std::string("side ") + c.side + " uplo " + c.uplo + " trans " + c.trans +
                 " diag " + c.diag + " m " + std::to_string(m) + " n " + std::to_string(n) +
                 " form " + std::to_string(int(form)));
    const bool left = Is(c.side, 'L'), upper = Is(c.uplo, 'U'), trans = !Is(c.trans, 'N'),
               unit = Is(c.diag, 'U');
    const int k = left ? m : n, lda = k + 1, ldb = m + 2;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    // A: the stored triangle random, everything else NaN so that any stray read shows.
    std::vector<T> a(size_t(lda) * k, nan), ap;
    for (int j = 0; j < k; ++j)
      for (int i = 0; i < k; ++i) {
        const bool stored = upper ? i <= j : i >= j;
        if (stored && !(i == j && unit)) a[i + j * lda] = Random();
      }
    for (int j = 0; j < k; ++j)
      for (int i = upper ? 0 : j; i <= (upper ? j : k - 1); ++i) ap.push_back(a[i + j * lda]);
    std::vector<T> b(size_t(ldb) * n);
    for (T& x : b) x = Random();
    const std::vector<T> b0 = b;

    // op(A) dense, with the implied zeros and unit diagonal.
    auto op = [&](int i, int j) -> double {
      const int r = trans ? j : i, s = trans ? i : j;
      if (r == s && unit) return 1;
      if (upper ? r > s : r < s) return 0;
      return a[r + s * lda];
    };
    if (form == Form::kOwn)
      Routines<T>::kOwn(&c.side, &c.uplo, &c.trans, &c.diag, &m, &n, &alpha, a.data(), &lda,
                        b.data(), &ldb);
    else if (form == Form::kBlas)
      Routines<T>::kBlas(&c.side, &c.uplo, &c.trans, &c.diag, &m, &n, &alpha, a.data(), &lda,
                         b.data(), &ldb);
    else
      Routines<T>::kPacked(&c.side, &c.uplo, &c.trans, &c.diag, &m, &n, &alpha, ap.data(),
                           b.data(), &ldb);

    const double eps = std::numeric_limits<T>::epsilon();
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < m; ++i) {
        double sum = 0, magnitude = 0;
        for (int t = 0; t < k; ++t) {
          const double term = left ? op(i, t) * b0[t + j * ldb] : b0[i + t * ldb] * op(t, j);
          sum += term;
          magnitude += fabs(term);
        }
        const double expect = alpha * sum;
        ASSERT_NEAR(b[i + j * ldb], expect, 2 * (k + 1) * eps * fabs(alpha) * magnitude)
            << "B(" << i << ", " << j << ")";
      }
      for (int i = m; i < ldb; ++i) ASSERT_EQ(b[i + j * ldb], b0[i + j * ldb]) << "padding";
    }
  }

  T Random() { return T(std::uniform_real_distribution<double>(-2, 2)(engine_)); }

 private:
  std::mt19937 engine_{2024};
};

using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TriangularMultiplyTest, Types);

TYPED_TEST(TriangularMultiplyTest, EveryFormMatchesTheDenseProduct) {
  const std::pair<int, int> sizes[] = {{1, 1}, {10, 3}, {11, 10}, {3, 11}, {37, 5}, {6, 37}};
  for (Form form : {Form::kOwn, Form::kBlas, Form::kPacked})
    for (const Case& c : AllCases())
      for (auto [m, n] : sizes) this->Check(form, c, m, n, TypeParam(-1.5));
}

TYPED_TEST(TriangularMultiplyTest, AlphaZeroClearsBAndEmptyShapesDoNothing) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const int two = 2, zero = 0;
  const T alpha0 = 0, alpha1 = 1;
  const T a[4] = {1, 2, 3, 4};
  for (Form form : {Form::kOwn, Form::kBlas, Form::kPacked}) {
    T b[4] = {nan, 5, 6, nan};
    auto run = [&](const int* m, const int* n, const T* alpha) {
      if (form == Form::kOwn) Routines<T>::kOwn("L", "U", "N", "N", m, n, alpha, a, &two, b, &two);
      else if (form == Form::kBlas) Routines<T>::kBlas("L", "U", "N", "N", m, n, alpha, a, &two, b, &two);
      else Routines<T>::kPacked("L", "U", "N", "N", m, n, alpha, a, b, &two);
    };
    run(&two, &zero, &alpha1);
    run(&zero, &two, &alpha1);
    EXPECT_TRUE(isnan(b[0]) && b[1] == 5 && b[2] == 6 && isnan(b[3]));
    run(&two, &two, &alpha0);
    for (T x : b) EXPECT_EQ(x, T(0)) << "form " << int(form);
  }
}

// Arguments that BLAS would reject leave B as it was.
TYPED_TEST(TriangularMultiplyTest, RejectedArgumentsLeaveBUntouched) {
  using T = TypeParam;
  struct Bad {
    const char *side, *uplo, *trans, *diag;
    int m, n, lda, ldb;
  };
  // The last two fail on lda alone, which the packed form does not take.
  const Bad bad[] = {{"X", "U", "N", "N", 2, 2, 2, 2}, {"L", "Q", "N", "N", 2, 2, 2, 2},
                     {"L", "U", "Z", "N", 2, 2, 2, 2}, {"L", "U", "N", "A", 2, 2, 2, 2},
                     {"L", "U", "N", "N", -1, 2, 2, 2}, {"L", "U", "N", "N", 2, -1, 2, 2},
                     {"L", "U", "N", "N", 2, 2, 2, 1},  {"L", "U", "N", "N", 2, 2, 1, 2},
                     {"R", "U", "N", "N", 1, 2, 1, 1}};
  const int lda_only_from = 7;
  const T a[4] = {1, 2, 3, 4}, alpha = 2;
  for (int row = 0; row < int(std::size(bad)); ++row) {
    const Bad& x = bad[row];
    for (Form form : {Form::kOwn, Form::kBlas, Form::kPacked}) {
      if (form == Form::kPacked && row >= lda_only_from) continue;
      T b[4] = {1, 1, 1, 1};
      if (form == Form::kOwn)
        Routines<T>::kOwn(x.side, x.uplo, x.trans, x.diag, &x.m, &x.n, &alpha, a, &x.lda, b,
                          &x.ldb);
      else if (form == Form::kBlas)
        Routines<T>::kBlas(x.side, x.uplo, x.trans, x.diag, &x.m, &x.n, &alpha, a, &x.lda, b,
                           &x.ldb);
      else
        Routines<T>::kPacked(x.side, x.uplo, x.trans, x.diag, &x.m, &x.n, &alpha, a, b, &x.ldb);
      for (T v : b) EXPECT_EQ(v, T(1)) << "row " << row << " form " << int(form);
    }
  }
}

}  // namespace
