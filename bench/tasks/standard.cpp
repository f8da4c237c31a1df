// A queue under a mutex with a condition variable, as one writes it by hand.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "bench/tasks/rows.h"

namespace bench {
namespace {

class Pool {
 public:
  explicit Pool(unsigned workers) {
    for (unsigned i = 0; i < workers; ++i) threads_.emplace_back([this] { Work(); });
  }
  void Insert(void (*work)()) {
    {
      const std::lock_guard lock(mutex_);
      queue_.emplace_back(work);
    }
    filled_.notify_one();
  }
  void Finish() {
    {
      const std::lock_guard lock(mutex_);
      isEnding_ = true;
    }
    filled_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  void Work() {
    for (;;) {
      std::function<void()> work;
      {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [this] { return isEnding_ || !queue_.empty(); });
        if (queue_.empty()) return;
        work = std::move(queue_.front());
        queue_.pop_front();
      }
      work();
    }
  }

  std::mutex mutex_;
  std::condition_variable filled_;
  std::deque<std::function<void()>> queue_;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

const bool registered = (AddTaskRows<Pool>("mutex and condition"), true);

}  // namespace
}  // namespace bench
