// The pool threading table: bodies of a run are taken by index from a shared counter by the
// calling thread and the pool's workers. The tables differ only in the thread count they
// answer; all share one pool.
#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "support/threading_tables.h"

namespace {

constexpr int kMaxThreads = 64;

class Pool {
 public:
  // Runs body over [0, blocks) with up to `blocks` threads, the caller being one of them.
  void Run(int64_t total, int64_t blocks, void* args, qorThreadBody body) {
    std::lock_guard<std::mutex> run_lock(run_mutex_);
    Grow(static_cast<int>(std::min<int64_t>(blocks, kMaxThreads)) - 1);
    const Job job{total, blocks, args, body};
    {
      std::lock_guard<std::mutex> lock(mutex_);
      job_ = job;
      next_ = 0;
      done_ = 0;
      running_ = true;
      ++generation_;
    }
    wake_.notify_all();
    Work(job);
    // Returns once every body is done and no worker still holds this run's job.
    std::unique_lock<std::mutex> lock(mutex_);
    finished_.wait(lock, [&] { return done_ == blocks && active_ == 0; });
    running_ = false;
  }

  ~Pool() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    for (std::thread& worker : workers_) worker.join();
  }

 private:
  struct Job {
    int64_t total = 0;
    int64_t blocks = 0;
    void* args = nullptr;
    qorThreadBody body = nullptr;
  };

  void Grow(int workers) {
    while (static_cast<int>(workers_.size()) < workers)
      workers_.emplace_back([this] { WorkerLoop(); });
  }

  // Takes indices until none is left.
  void Work(const Job& job) {
    int64_t finished = 0;
    for (int64_t i; (i = next_.fetch_add(1)) < job.blocks; ++finished)
      job.body(i, job.blocks, job.total, job.args);
    std::lock_guard<std::mutex> lock(mutex_);
    done_ += finished;
    if (done_ == job.blocks) finished_.notify_all();
  }

  void WorkerLoop() {
    uint64_t seen = 0;
    for (;;) {
      Job job;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        wake_.wait(lock, [&] { return stop_ || (running_ && generation_ != seen); });
        if (stop_) return;
        seen = generation_;
        job = job_;
        ++active_;
      }
      Work(job);
      std::lock_guard<std::mutex> lock(mutex_);
      --active_;
      finished_.notify_all();
    }
  }

  std::mutex run_mutex_;  // one run at a time
  std::mutex mutex_;
  std::condition_variable wake_, finished_;
  std::vector<std::thread> workers_;
  Job job_;
  std::atomic<int64_t> next_{0};
  int64_t done_ = 0;
  int active_ = 0;  // workers inside a run
  bool running_ = false;  // a late worker joins only a run that is going on
  uint64_t generation_ = 0;
  bool stop_ = false;
};

Pool& ThePool() {
  static Pool pool;
  return pool;
}

thread_local bool t_in_body = false;

int PoolFor(int64_t total, int64_t blocks, void* args, qorThreadBody body) {
  if (blocks <= 0) return 0;
  // A run started from inside a body, or of one body, stays on its thread.
  if (t_in_body || blocks == 1) {
    for (int64_t i = 0; i < blocks; ++i) body(i, blocks, total, args);
    return 0;
  }
  struct Frame {
    qorThreadBody body;
    void* args;
  } frame{body, args};
  // Each body runs with the nesting mark set on its thread.
  ThePool().Run(total, blocks, &frame, [](int64_t i, int64_t n, int64_t word, void* f) {
    auto* fr = static_cast<Frame*>(f);
    const bool outer = t_in_body;
    t_in_body = true;
    fr->body(i, n, word, fr->args);
    t_in_body = outer;
  });
  return 0;
}

template <int N>
int FixedCount(int64_t, int64_t, int64_t, int64_t) {
  return N;
}

template <size_t... N>
constexpr std::array<qorThreading, sizeof...(N)> MakeTables(std::index_sequence<N...>) {
  return {{qorThreading{PoolFor, {nullptr, nullptr, nullptr}, FixedCount<int(N) + 1>}...}};
}

constexpr std::array<qorThreading, kMaxThreads> kTables =
    MakeTables(std::make_index_sequence<kMaxThreads>());

}  // namespace

extern "C" const qorThreading* qor_support_pool_threading(int threads) {
  return &kTables[std::clamp(threads, 1, kMaxThreads) - 1];
}

extern "C" int qor_support_pool_max_threads(void) { return kMaxThreads; }
