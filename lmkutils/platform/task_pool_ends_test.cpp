// How pools end, and what they do when memory or threads are missing.
#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/os/testing/fork.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/task_pool.h"
#include "lmkutils/platform/testing/pool_tasks.h"
#include "lmkutils/platform/thread.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

using lmktest::Gate;
using lmktest::Handle;
using lmktest::Log;
using lmktest::Make;
using lmktest::Work;
using testing::ElementsAre;

TEST(TaskPool, MayBeDestroyedByItsOwnTask) {
  for (const unsigned workers : {1U, 3U}) {
    std::atomic<int> runs{0};
    dp::Semaphore done;
    auto* const pool = new du::TaskPool(workers);
    Gate gate;
    gate.Hold(*pool, workers);
    pool->InsertTask(Make([&] {
      delete pool;
      EXPECT_EQ(runs, 20);
      done.Signal();
    }));
    for (int i = 0; i < 20; ++i) pool->InsertTask(Make([&] { ++runs; }));
    gate.Open();
    done.Wait(0);
  }
}

TEST(TaskPool, IsDestroyedWithAFullQueue) {
  std::atomic<int> runs{0};
  {
    du::TaskPool pool;
    for (int i = 0; i < 5000; ++i) pool.InsertTask(Make([&] { ++runs; }));
  }
  EXPECT_EQ(runs, 5000);
}

TEST(TaskPool, RunsTasksOnTheCallerWhenNoThreadCanBeStarted) {
  std::thread::id ranOn;
  const auto note = [&] { return Make([&] { ranOn = std::this_thread::get_id(); }); };
  os::fault::Arm(os::fault::Call::kThreadStart, {.count = os::fault::kForEver});
  du::TaskPool pool(2);
  EXPECT_TRUE(pool.InsertTask(note()));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  os::fault::Disarm(os::fault::Call::kThreadStart);
  EXPECT_TRUE(pool.InsertTask(note()));  // by the one that can be started now
  pool.StopTaskPool();
  EXPECT_NE(ranOn, std::this_thread::get_id());
  pool.StartTaskPool();
  Gate gate;
  gate.Hold(pool, 2);
  gate.Open();
}

// Fills the queue up to the end of a chunk and ends all threads, while there is no memory for one more: the
// orders to end have no place in the queue then and overtake the tasks.
void EndThreadsBeforeTasks(du::TaskPool& pool, const Handle& task) {
  const lmktest::Shortage shortage(lmktest::Memory::kHeap);
  try {
    for (;;) pool.InsertTask(task);
  } catch (const std::bad_alloc&) {
  }
  pool.SetTargetThreads(0);
}

TEST(TaskPool, AbortsWhatIsLeftWithoutAThread) {
  Log log;
  du::TaskPool pool(1);
  Gate gate;
  gate.Hold(pool, 1);
  pool.InsertTask(Make(log.Note("run"), [&] {
    log.Add("abort");
    EXPECT_FALSE(pool.InsertTask(Make(log.Note("run"))));
    pool.StopTaskPool();
    throw std::runtime_error("x");
  }));
  EndThreadsBeforeTasks(pool, Make(log.Note("run"), log.Note("abort")));
  lmktest::TraceRecorder recorder;
  const unsigned left = pool.GetNumTasks() - 1;
  gate.Open();
  pool.StopTaskPool();
  EXPECT_EQ(pool.GetNumTasks(), 0U);
  const std::vector<std::string> lines = log.Lines();
  EXPECT_EQ(lines.size(), left);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "abort"), static_cast<std::ptrdiff_t>(left));
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre("Completed task [<unknown task>]",  // of the gate
                                                "DoTask encountered a problem: x\n"));
}

// The task that is aborted starts the pool again, whose new thread goes beyond what was left.
TEST(TaskPool, AbortsNothingThatCameAfterTheStop) {
  Log log;
  du::TaskPool pool(1);
  Gate first;
  Gate second;
  first.Hold(pool, 1);
  pool.InsertTask(Make({}, [&] {
    pool.SetTargetThreads(1);
    pool.StartTaskPool();
    second.Hold(pool, 1);
    pool.InsertTask(Make(log.Note("run"), log.Note("abort")));
  }));
  EndThreadsBeforeTasks(pool, Make({}));
  first.Open();
  pool.StopTaskPool();
  second.Open();
  pool.StopTaskPool();
  EXPECT_THAT(log.Lines(), ElementsAre("run"));
}

TEST(TaskPool, LosesNoTaskWhenMemoryRunsOut) {
  for (const lmktest::Memory memory : lmktest::kAllMemory) {
    for (std::uint64_t first = 1; first <= 40; ++first) {
      int accepted = 0;
      std::atomic<int> runs{0};
      const Handle task = Make([&] { ++runs; });
      try {
        const lmktest::Shortage shortage(memory, first, 2);
        du::TaskPool pool(2);
        for (int i = 0; i < 3; ++i) accepted += pool.InsertTask(task) ? 1 : 0;
      } catch (const std::exception&) {  // also of a semaphore
      }
      EXPECT_EQ(runs, accepted) << "request " << first;
    }
  }
}

// Each of these tasks runs the rest of the queue, if the others have left it one.
TEST(TaskPool, CompletesTasksThatCompleteTasks) {
  std::atomic<int> runs{0};
  du::TaskPool pool(1);
  Gate gate;
  gate.Hold(pool, 1);
  for (int i = 0; i < 20000; ++i) {
    pool.InsertTask(Make([&] {
      ++runs;
      pool.CompletePendingTasks();
    }));
  }
  gate.Open();
  pool.StopTaskPool();
  EXPECT_EQ(runs, 20000);
}

// An exit call is no task any more: this one waits for the task of the other thread.
TEST(TaskPool, MayBeDestroyedByAnExitCallOfItsThread) {
  static du::TaskPool* pool = nullptr;
  static std::atomic<bool> isTaskOver{false};
  static std::atomic<bool> wasTaskOver{false};
  static dp::Semaphore done;
  pool = new du::TaskPool(2);
  dp::Semaphore inside;
  dp::Semaphore open;
  pool->InsertTask(Make([&] {
    inside.Signal();
    open.Wait(0);
    isTaskOver = true;
  }));
  inside.Wait(0);
  pool->InsertTask(Make([] {
    dp::Thread::GetCurrentThread()->ScheduleAtThreadExitCall(0, [] {
      delete pool;
      wasTaskOver = isTaskOver.load();
      done.Signal();
    });
    pool->SetTargetThreads(1);
  }));
  lmktest::GiveOthersTime();
  open.Signal();
  done.Wait(0);
  EXPECT_TRUE(wasTaskOver);
}

// The end of a process that has killed the threads of a pool, one of them inside of a task.
const lmktest::ChildRole kKilled("killed_pool", [](const std::vector<std::string>&) {
  static auto& gate = *new Gate;
  static du::TaskPool pool(2);
  gate.Hold(pool, 1);
  os::fault::Arm(os::fault::Call::kOtherThreadsKilled, {.count = os::fault::kForEver});
  pool.StopTaskPool();
  pool.InsertTask(Make([] {}));
  pool.CompletePendingTasks();
  return 0;
});

// A forked process has none of the threads.
const lmktest::ChildRole kForked("forked_pool", [](const std::vector<std::string>&) {
  static auto* const pool = new du::TaskPool(2);
  Gate gate;
  gate.Hold(*pool, 2);
  pool->InsertTask(Make([] {}));
  const int result = os::testing::RunForked([] {
    pool->StopTaskPool();
    pool->CompletePendingTasks();
    delete pool;
    return 0;
  });
  gate.Open();
  delete pool;
  return result == os::testing::kForkUnknown ? 0 : result;
});

TEST(TaskPool, DoesNotWaitForThreadsThatAreLost) {
  for (const char* role : {"killed_pool", "forked_pool"}) {
    const auto result = lmktest::RunSelf(role);
    EXPECT_EQ(result.exitCode, 0) << role << (result.timedOut ? " hangs" : result.err);
  }
}

}  // namespace
