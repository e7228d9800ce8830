// Triangular multiplies (own, BLAS, packed) against a dense loop, unused entries of A NaN.
#include <ctype.h>
#include <math.h>

#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "qor/core_blas.h"

namespace {
enum class Form { kOwn, kBlas, kPacked };
constexpr Form kForms[] = {Form::kOwn, Form::kBlas, Form::kPacked};

template <class T> struct Routines;
template <> struct Routines<double> {
  static constexpr auto kOwn = qor_blas_xdtrmm_4tem, kBlas = qor_blas4tem_dtrmm;
  static constexpr auto kPacked = qor_blas4tem_dptrmm;
};
template <> struct Routines<float> {
  static constexpr auto kOwn = qor_blas_xstrmm_4tem, kBlas = qor_blas4tem_strmm;
  static constexpr auto kPacked = qor_blas4tem_sptrmm;
};

// One call of the given form; the packed form reads `packed` instead of `a` and `lda`.
template <class T>
void Multiply(Form form, const char* side, const char* uplo, const char* trans, const char* diag,
              const int* m, const int* n, const T* alpha, const T* a, const int* lda,
              const T* packed, T* b, const int* ldb) {
  if (form == Form::kPacked)
    Routines<T>::kPacked(side, uplo, trans, diag, m, n, alpha, packed, b, ldb);
  else
    (form == Form::kOwn ? Routines<T>::kOwn : Routines<T>::kBlas)(side, uplo, trans, diag, m, n,
                                                                  alpha, a, lda, b, ldb);
}

template <class T>
class TriangularMultiplyTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TriangularMultiplyTest, Types);

// Every combination in mixed case; B's padding rows (ldb = m + 2) stay as they were.
TYPED_TEST(TriangularMultiplyTest, EveryFormMatchesTheDenseProduct) {
  using T = TypeParam;
  std::mt19937 engine(2024);
  auto random = [&] { return T(std::uniform_real_distribution<double>(-2, 2)(engine)); };
  const std::pair<int, int> sizes[] = {{1, 1}, {10, 3}, {11, 10}, {3, 11}, {37, 5}, {6, 37}};
  const T alpha = -1.5, nan = std::numeric_limits<T>::quiet_NaN();
  const double eps = std::numeric_limits<T>::epsilon();
  for (Form form : kForms)
    for (char side : {'L', 'r'})
      for (char uplo : {'U', 'l'})
        for (char trans : {'N', 't', 'C'})
          for (char diag : {'N', 'u'})
            for (auto [m, n] : sizes) {
              SCOPED_TRACE(std::string({side, uplo, trans, diag}) + " m " + std::to_string(m) +
                           " n " + std::to_string(n) + " form " + std::to_string(int(form)));
              const bool left = toupper(side) == 'L', upper = toupper(uplo) == 'U',
                         tr = toupper(trans) != 'N', unit = toupper(diag) == 'U';
              const int k = left ? m : n, lda = k + 1, ldb = m + 2;
              std::vector<T> a(size_t(lda) * k, nan), ap, b(size_t(ldb) * n);
              std::vector<double> op(size_t(k) * k, 0);  // op(A) with its implied entries
              for (int j = 0; j < k; ++j)
                for (int i = upper ? 0 : j; i <= (upper ? j : k - 1); ++i) {
                  if (!(i == j && unit)) a[i + j * lda] = random();
                  ap.push_back(a[i + j * lda]);
                  op[tr ? j + i * k : i + j * k] = i == j && unit ? 1 : a[i + j * lda];
                }
              for (T& x : b) x = random();
              const std::vector<T> b0 = b;
              Multiply<T>(form, &side, &uplo, &trans, &diag, &m, &n, &alpha, a.data(), &lda,
                          ap.data(), b.data(), &ldb);
              for (int j = 0; j < n; ++j) {
                for (int i = 0; i < m; ++i) {
                  double sum = 0, magnitude = 0;
                  for (int t = 0; t < k; ++t) {
                    const double term =
                        left ? op[i + t * k] * b0[t + j * ldb] : b0[i + t * ldb] * op[t + j * k];
                    sum += term;
                    magnitude += fabs(term);
                  }
                  ASSERT_NEAR(b[i + j * ldb], alpha * sum,
                              2 * (k + 1) * eps * fabs(alpha) * magnitude)
                      << "B(" << i << ", " << j << ")";
                }
                for (int i = m; i < ldb; ++i) ASSERT_EQ(b[i + j * ldb], b0[i + j * ldb]);
              }
            }
}

// Arguments that BLAS would reject, and empty shapes, leave B as it was; alpha 0 clears B.
TYPED_TEST(TriangularMultiplyTest, RejectedArgumentsAndEmptyShapesLeaveBUntouched) {
  using T = TypeParam;
  const struct {
    const char *side, *uplo, *trans, *diag;
    int m, n, lda, ldb;
  } bad[] = {{"X", "U", "N", "N", 2, 2, 2, 2},  {"L", "Q", "N", "N", 2, 2, 2, 2},
             {"L", "U", "Z", "N", 2, 2, 2, 2},  {"L", "U", "N", "A", 2, 2, 2, 2},
             {"L", "U", "N", "N", -1, 2, 2, 2}, {"L", "U", "N", "N", 2, -1, 2, 2},
             {"L", "U", "N", "N", 2, 2, 2, 1},  {"L", "U", "N", "N", 2, 0, 2, 2},
             {"L", "U", "N", "N", 0, 2, 2, 2},  {"L", "U", "N", "N", 2, 2, 1, 2},
             {"R", "U", "N", "N", 1, 2, 1, 1}};
  const int lda_only_from = 9;  // rows failing on lda alone, which the packed form lacks
  const T a[4] = {1, 2, 3, 4}, alpha = 2, zero = 0;
  for (Form form : kForms) {
    for (int row = 0; row < int(std::size(bad)); ++row) {
      if (form == Form::kPacked && row >= lda_only_from) continue;
      const auto& x = bad[row];
      T b[4] = {1, 1, 1, 1};
      Multiply<T>(form, x.side, x.uplo, x.trans, x.diag, &x.m, &x.n, &alpha, a, &x.lda, a, b,
                  &x.ldb);
      for (T v : b) EXPECT_EQ(v, T(1)) << "row " << row << " form " << int(form);
    }
    T b[4] = {std::numeric_limits<T>::quiet_NaN(), 5, 6, 7};
    const int two = 2;
    Multiply<T>(form, "L", "U", "N", "N", &two, &two, &zero, a, &two, a, b, &two);
    for (T v : b) EXPECT_EQ(v, T(0)) << "alpha 0, form " << int(form);
  }
}
}  // namespace
