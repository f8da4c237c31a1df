// Tasks for tests of the task pool.
#ifndef LMKUTILS_PLATFORM_TESTING_POOL_TASKS_H
#define LMKUTILS_PLATFORM_TESTING_POOL_TASKS_H

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/task_pool.h"

namespace lmktest {

class Work : public du::Task {
 public:
  explicit Work(std::function<void()> run = {}, std::function<void()> abort = {})
      : run_(std::move(run)), abort_(std::move(abort)) {}
  void Run() override {
    if (run_) run_();
  }
  void Abort() override {
    if (abort_) abort_();
  }

 private:
  const std::function<void()> run_;
  const std::function<void()> abort_;
};

using Handle = du::SmartPtr<du::Task>;

inline Handle Make(std::function<void()> run, std::function<void()> abort = {}) {
  return du::MakeShared<Work>(std::move(run), std::move(abort));
}

// Keeps the workers of a pool inside of a task each, until it is opened.
class Gate {
 public:
  ~Gate() {
    Open();
    for (; tasks_ != 0; --tasks_) left_.Wait(0);
  }
  void Hold(du::TaskPool& pool, unsigned workers) {
    held_ += workers;
    for (unsigned i = 0; i < workers; ++i) {
      pool.InsertTask(Make([this] {
        inside_.Signal();
        open_.Wait(0);
        left_.Signal();
      }));
    }
    tasks_ += workers;
    for (unsigned i = 0; i < workers; ++i) inside_.Wait(0);
  }
  void Open() { open_.Signal(std::exchange(held_, 0)); }

 private:
  dp::Semaphore inside_;
  dp::Semaphore open_;
  dp::Semaphore left_;
  unsigned held_ = 0;
  unsigned tasks_ = 0;
};

// What happened, in its order.
class Log {
 public:
  std::function<void()> Note(const std::string& what) {
    return [this, what] { Add(what); };
  }
  void Add(const std::string& what) {
    const std::lock_guard guard(mutex_);
    lines_.push_back(what);
  }
  std::vector<std::string> Lines() {
    const std::lock_guard guard(mutex_);
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace lmktest

#endif
