#include "bench/tasks/rows.h"

#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/platform/task_pool.h"

namespace bench {
namespace {

class Work : public du::Task, public du::CommonAllocated {
 public:
  explicit Work(void (*work)()) : work_(work) {}
  void Run() override { work_(); }

 private:
  void (*const work_)();
};

class Pool {
 public:
  explicit Pool(unsigned workers) : pool_(workers) {}
  void Insert(void (*work)()) { pool_.InsertTask(du::SmartPtr<du::Task>(new Work(work))); }
  void Finish() { pool_.StopTaskPool(); }

 private:
  du::TaskPool pool_;
};

const bool registered = (AddTaskRows<Pool>(kOurs), true);

}  // namespace
}  // namespace bench
