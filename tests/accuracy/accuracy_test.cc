// Fast accuracy sample of every function with a kernel in libqor.so: each exported name below
// 1 ulp against MPFR on special and boundary values, bit patterns and the typical range.
#include <ostream>

#include "gtest/gtest.h"
#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"
#include "tests/accuracy/kernels.h"
#include "tests/accuracy/measure.h"

namespace accuracy {

void PrintTo(const FunctionRow& row, std::ostream* out) { *out << row.name; }

namespace {

constexpr size_t kSampleSize = 8192, kStridedSampleSize = 2048;

// A fixed seed per function (FNV-1a of its name), so that the s and d twins differ.
uint64_t SeedOf(const std::string& name) {
  uint64_t hash = 0xCBF29CE484222325u;
  for (char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  return hash;
}

const char* const kDrawNames[] = {"bit patterns", "uniform in the typical range",
                                  "bit patterns in the typical range", "the row's own draw"};

class AccuracyTest : public testing::TestWithParam<FunctionRow> {
 protected:
  void SetUp() override {
    entries_ = ExportedEntries(GetParam());
    if (entries_.empty()) GTEST_SKIP() << GetParam().name << " has no kernel in this build";
  }

  // Every entry of the chosen layout below 1 ulp on `inputs`.
  template <class T>
  void ExpectBelowOneUlp(const Inputs<T>& inputs, bool strided, const std::string& what) {
    const FunctionRow& row = GetParam();
    const std::vector<Expected<T>> expected = ExactExpectations(row, inputs);
    std::vector<T> results;
    for (const Entry& entry : entries_) {
      if (entry.strided != strided) continue;
      ErrorStats<T> stats;
      Evaluate(entry, inputs, &results);
      Measure(inputs, results, expected, &stats);
      EXPECT_TRUE(stats.Passed()) << entry.symbol << ", " << what << ": "
                                  << stats.Describe(row.arity() == 2);
    }
  }

  // Without error handling flagged lanes may be settled apart: the results must not change.
  template <class T>
  void Special() {
    const Inputs<T> inputs = SpecialInputs<T>(GetParam());
    for (bool no_error : {false, true}) {
      ScopedMode mode(no_error ? kNoErrorMode : kDefaultMode);
      for (bool strided : {false, true})
        ExpectBelowOneUlp(inputs, strided, no_error ? "specials, no-error mode" : "specials");
    }
  }

  // Each draw through the plain names, and a smaller one through the strided names.
  template <class T>
  void Draws() {
    ScopedMode mode(kDefaultMode);
    const FunctionRow& row = GetParam();
    for (Draw draw : DrawsOf(row))
      for (bool strided : {false, true}) {
        const size_t count = strided ? kStridedSampleSize : kSampleSize;
        const Inputs<T> inputs = RandomInputs<T>(row, draw, count, SeedOf(row.name) + int(draw));
        ExpectBelowOneUlp(inputs, strided, kDrawNames[int(draw)]);
      }
  }

  // Runs `body` with float or double as the row's type asks.
  template <class Body>
  void ForRowType(Body body) {
    if (GetParam().type() == 's') body(float());
    else body(double());
  }

  std::vector<Entry> entries_;
};

TEST_P(AccuracyTest, SpecialAndBoundaryValues) {
  ForRowType([&](auto t) { Special<decltype(t)>(); });
}

TEST_P(AccuracyTest, RandomDraws) {
  ForRowType([&](auto t) { Draws<decltype(t)>(); });
}

INSTANTIATE_TEST_SUITE_P(Functions, AccuracyTest, testing::ValuesIn(Functions()),
                         [](const testing::TestParamInfo<FunctionRow>& info) {
                           return info.param.name;
                         });

// MPFR keeps constant caches per thread; free them so that leak checkers see none.
struct MpfrCaches : testing::Environment {
  void TearDown() override { mpfr_free_cache(); }
};
const testing::Environment* const kMpfrCaches = testing::AddGlobalTestEnvironment(new MpfrCaches);

}  // namespace
}  // namespace accuracy
