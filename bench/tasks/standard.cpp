// A queue of task objects under a mutex with a condition variable, as one writes it by hand.
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "bench/tasks/rows.h"

namespace bench {
namespace {

class Task {
 public:
  virtual ~Task() = default;
  virtual void Run() = 0;
};

class Call : public Task {
 public:
  explicit Call(void (*work)()) : work_(work) {}
  void Run() override { work_(); }

 private:
  void (*const work_)();
};

class Pool {
 public:
  explicit Pool(unsigned workers) {
    for (unsigned i = 0; i < workers; ++i) threads_.emplace_back([this] { Work(); });
  }
  void Insert(void (*work)()) {
    auto task = std::make_unique<Call>(work);
    {
      const std::lock_guard lock(mutex_);
      queue_.push_back(std::move(task));
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
      std::unique_ptr<Task> task;
      {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [this] { return isEnding_ || !queue_.empty(); });
        if (queue_.empty()) return;
        task = std::move(queue_.front());
        queue_.pop_front();
      }
      task->Run();
    }
  }

  std::mutex mutex_;
  std::condition_variable filled_;
  std::deque<std::unique_ptr<Task>> queue_;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

const bool registered = (AddTaskRows<Pool>("mutex and condition"), true);

}  // namespace
}  // namespace bench
