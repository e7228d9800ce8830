// Creates the 6024 MT2203 members, resumably, and writes or checks their table.
//
//   gen_mt2203_parameters [--progress=F] [--rows=A:B] [--threads=T] [--mask-trials=E]
//       searches the members A <= m < B missing from F and appends each one to F when found;
//   gen_mt2203_parameters --emit=OUT [--progress=F]
//       writes the C++ table once all 6024 members are in F;
//   gen_mt2203_parameters --verify [--progress=F] [--rows=A:B] [--threads=T]
//       rechecks degree, primitivity, fixed rows and member tags, distinct constants and
//       polynomials, and the claimed k(v).
// F defaults to generators/mt2203_progress.txt (run from the source root).
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tools/mt2203_rows.h"
#include "tools/mt2203_search.h"

namespace {

using mt2203::Row;

struct Options {
  std::string progress = "generators/mt2203_progress.txt";
  std::string emit;
  bool verify = false;
  int first = 0, last = mt2203::kMembers;
  int threads = 1;
  int mask_trials = 63;
};

bool Parse(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    const char* a = argv[i];
    auto value = [&](const char* name) -> const char* {
      const size_t n = std::strlen(name);
      return std::strncmp(a, name, n) == 0 ? a + n : nullptr;
    };
    if (const char* v = value("--progress=")) {
      o.progress = v;
    } else if (const char* v = value("--emit=")) {
      o.emit = v;
    } else if (std::strcmp(a, "--verify") == 0) {
      o.verify = true;
    } else if (const char* v = value("--rows=")) {
      if (std::sscanf(v, "%d:%d", &o.first, &o.last) != 2 || o.first < 0 || o.last > mt2203::kMembers ||
          o.first >= o.last)
        return false;
    } else if (const char* v = value("--threads=")) {
      o.threads = std::atoi(v);
      if (o.threads < 1) return false;
    } else if (const char* v = value("--mask-trials=")) {
      o.mask_trials = std::atoi(v);
      if (o.mask_trials < 1) return false;
    } else {
      return false;
    }
  }
  return true;
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Runs body(index) for index in [0, count) on `threads` threads.
template <class Body>
void ParallelFor(int count, int threads, Body body) {
  std::atomic<int> next{0};
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t)
    pool.emplace_back([&] {
      for (int i; (i = next.fetch_add(1)) < count;) body(i);
    });
  for (std::thread& t : pool) t.join();
}

int Search(const Options& o, const std::map<int, Row>& done) {
  std::vector<int> todo;
  for (int m = o.first; m < o.last; ++m)
    if (!done.count(m)) todo.push_back(m);
  mt2203::DropUnfinishedLine(o.progress);
  std::FILE* out = std::fopen(o.progress.c_str(), "a");
  if (!out) {
    std::perror(o.progress.c_str());
    return 1;
  }
  std::printf("%zu members to search in %d:%d, %d thread(s)\n", todo.size(), o.first, o.last, o.threads);
  std::mutex lock;
  const auto start = std::chrono::steady_clock::now();
  std::atomic<int> finished{0};
  ParallelFor(static_cast<int>(todo.size()), o.threads, [&](int i) {
    const auto t0 = std::chrono::steady_clock::now();
    const Row row = mt2203::SearchMember(todo[i], o.mask_trials);
    const std::lock_guard<std::mutex> hold(lock);
    mt2203::WriteRow(out, row);
    std::fflush(out);
    const int n = ++finished;
    std::printf("member %d: matrixA 0x%08X defect %d, %.2f s (%d/%zu, %.2f s per member)\n", row.member,
                row.matrix_a, mt2203::Defect(row.k), Seconds(t0), n, todo.size(), Seconds(start) / n);
    std::fflush(stdout);
  });
  std::fclose(out);
  return 0;
}

int Emit(const Options& o, const std::map<int, Row>& rows, const std::string& command) {
  if (static_cast<int>(rows.size()) != mt2203::kMembers) {
    std::fprintf(stderr, "%s holds %zu of %d members; finish the search first\n", o.progress.c_str(),
                 rows.size(), mt2203::kMembers);
    return 1;
  }
  std::FILE* f = std::fopen(o.emit.c_str(), "w");
  if (!f) {
    std::perror(o.emit.c_str());
    return 1;
  }
  std::fprintf(f, "// BEGIN GENERATED CODE; DO NOT EDIT\n// %s\n", command.c_str());
  std::fprintf(f,
               "// MT2203 members: {member, matrixA, maskB, maskC}, ascending by member: twisters of period\n"
               "// 2^2203 - 1 with pairwise distinct characteristic polynomials.\n"
               "// clang-format off\nconst Mt2203Row kMt2203Rows[] = {\n");
  for (const auto& [member, r] : rows)
    std::fprintf(f, "    {%d, 0x%08Xu, 0x%08Xu, 0x%08Xu},\n", member, r.matrix_a, r.mask_b, r.mask_c);
  std::fprintf(f, "};\n// clang-format on\n// END GENERATED CODE\n");
  std::fclose(f);
  return 0;
}

uint64_t Hash(const gf2::Poly& p) {
  uint64_t h = 0xCBF29CE484222325ull;
  for (uint64_t w : p) h = (h ^ w) * 0x100000001B3ull;
  return h;
}

int Verify(const Options& o, const std::map<int, Row>& rows) {
  const auto start = std::chrono::steady_clock::now();
  std::vector<Row> selected;
  for (const auto& [member, r] : rows)
    if (member >= o.first && member < o.last) selected.push_back(r);
  std::vector<uint64_t> hashes(selected.size());
  std::atomic<int> failures{0};
  std::mutex lock;
  ParallelFor(static_cast<int>(selected.size()), o.threads, [&](int i) {
    const Row& r = selected[i];
    const gf2::Poly p = mt2203::CharacteristicPolynomial(r.matrix_a);
    hashes[i] = Hash(p);
    mt2203::Distribution k;
    mt2203::Equidistribution(r.matrix_a).Measure(r.mask_b, r.mask_c, 1 << 30, k);
    const std::optional<Row> fixed = mt2203::FixedRow(r.member);
    const bool marked =
        fixed ? fixed->matrix_a == r.matrix_a && fixed->mask_b == r.mask_b && fixed->mask_c == r.mask_c
              : (r.matrix_a & 0xFFFF) == r.member + mt2203::kMemberTag;
    const char* fault = !mt2203::IsPrimitive(p) ? "not primitive"
                        : (r.mask_b & ~mt2203::kMaskBFree) || (r.mask_c & ~mt2203::kMaskCFree)
                            ? "mask low bits"
                        : !marked  ? "not the fixed row or member tag"
                        : k != r.k ? "k(v) differs from the claim"
                                   : nullptr;
    if (fault) {
      ++failures;
      const std::lock_guard<std::mutex> hold(lock);
      std::printf("member %d: %s\n", r.member, fault);
    }
  });
  std::set<uint32_t> constants;
  std::set<uint64_t> polynomials(hashes.begin(), hashes.end());
  for (const Row& r : selected) constants.insert(r.matrix_a);
  const bool distinct = constants.size() == selected.size() && polynomials.size() == selected.size();
  const int missing = (o.last - o.first) - static_cast<int>(selected.size());
  std::printf("%zu members checked, %d missing in %d:%d, %d failed, constants and polynomials %s; %.1f s\n",
              selected.size(), missing, o.first, o.last, failures.load(),
              distinct ? "distinct" : "NOT distinct", Seconds(start));
  return failures == 0 && distinct ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (!Parse(argc, argv, o)) {
    std::fprintf(stderr,
                 "usage: %s [--progress=F] [--rows=A:B] [--threads=T] [--mask-trials=E]\n"
                 "       %s --emit=OUT [--progress=F]\n"
                 "       %s --verify [--progress=F] [--rows=A:B] [--threads=T]\n",
                 argv[0], argv[0], argv[0]);
    return 2;
  }
  std::map<int, Row> rows;
  std::string error;
  if (!mt2203::ReadRows(o.progress, rows, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  if (!o.emit.empty()) {
    std::string command = argv[0];
    for (int i = 1; i < argc; ++i) command += std::string(" ") + argv[i];
    return Emit(o, rows, command);
  }
  return o.verify ? Verify(o, rows) : Search(o, rows);
}
