#include "bench/tasks/rows.h"
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

namespace bench {
namespace {

// As many threads as a row asks for, also on a machine with fewer processors.
void AllowThreads() {
  static const tbb::global_control control(tbb::global_control::max_allowed_parallelism, 5);
}

// First in, first out, as the others are; the inserting thread only waits.
class Queue {
 public:
  explicit Queue(unsigned workers) : arena_((AllowThreads(), static_cast<int>(workers)), 0) {
    arena_.initialize();
  }
  void Insert(void (*work)()) { arena_.enqueue(group_.defer(work)); }
  void Finish() { group_.wait(); }

 private:
  tbb::task_arena arena_;
  tbb::task_group group_;
};

const bool registered = (AddTaskRows<Queue>("TBB, task_arena::enqueue"), true);

}  // namespace
}  // namespace bench
