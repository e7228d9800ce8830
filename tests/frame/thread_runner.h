// Runs a test body on a new thread, which starts with a fresh per-thread record.
#ifndef QOR_TESTS_FRAME_THREAD_RUNNER_H_
#define QOR_TESTS_FRAME_THREAD_RUNNER_H_

#include <thread>

template <class F>
void OnFreshThread(F body) {
  std::thread(body).join();
}

#endif  // QOR_TESTS_FRAME_THREAD_RUNNER_H_
