// Small things that tests with several threads share.
#ifndef LMKUTILS_TESTING_THREADS_H
#define LMKUTILS_TESTING_THREADS_H

#include <chrono>
#include <thread>
#include <vector>

namespace lmktest {

// Runs `body` on another thread, to its end.
template <class Body>
void OnOtherThread(Body body) {
  std::thread(body).join();
}

// Runs `body(number)` on `count` threads at once, to their ends.
template <class Body>
void OnThreads(int count, Body body) {
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) threads.emplace_back(body, number);
  for (std::thread& thread : threads) thread.join();
}

// Whether the lock is free for another thread, which leaves it so.
template <class Lock>
bool OthersCanTake(Lock& lock) {
  bool taken = false;
  OnOtherThread([&] {
    taken = lock.TryLock();
    if (taken) lock.Unlock();
  });
  return taken;
}

// Long enough for a thread that could go on to do so. A test that sleeps this way can miss a fault on a slow
// machine, but cannot report one that is not there.
inline void GiveOthersTime() {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// Waits for `condition` to come true; the test's own time limit ends it when it never does.
template <class Condition>
void WaitUntil(Condition condition) {
  while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace lmktest

#endif
