// Runs a test body on a new thread, so that it starts with a fresh per-thread record seeded
// from the environment as it stands.
#ifndef QOR_TESTS_FRAME_THREAD_RUNNER_H_
#define QOR_TESTS_FRAME_THREAD_RUNNER_H_

#include <thread>
#include <utility>

template <class F>
void OnFreshThread(F&& body) {
  std::thread thread(std::forward<F>(body));
  thread.join();
}

#endif  // QOR_TESTS_FRAME_THREAD_RUNNER_H_
