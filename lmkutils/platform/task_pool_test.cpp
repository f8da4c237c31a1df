#include "lmkutils/platform/task_pool.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/testing/pool_tasks.h"
#include "lmkutils/testing/random.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

using lmktest::Gate;
using lmktest::Handle;
using lmktest::Log;
using lmktest::Make;
using lmktest::Work;
using testing::ElementsAre;

TEST(Task, HasDefaults) {
  class Plain : public du::Task {
   public:
    void Run() override { du::Task::Run(); }
    void FlushResults() override { ++flushes; }
    int flushes = 0;
  } task;
  EXPECT_EQ(task.GetName(), "<unknown task>");
  EXPECT_EQ(task.GetPriority(), 1.0F);
  task.TaskComplete();
  EXPECT_EQ(task.flushes, 1);
  task.Abort();
  try {
    task.Run();
    FAIL();
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "Task::Run() not implemented");
  }
}

TEST(TaskPool, RunsTasksInTheOrderOfArrival) {
  std::vector<int> expected(2000);  // some chunks of the queue
  std::iota(expected.begin(), expected.end(), 0);
  std::vector<int> order;
  du::TaskPool pool(1);
  for (const int number : expected)
    ASSERT_TRUE(pool.InsertTask(Make([&, number] { order.push_back(number); })));
  pool.StopTaskPool();
  EXPECT_EQ(order, expected);
  EXPECT_EQ(pool.GetNumTasks(), 0U);
}

TEST(TaskPool, RunsEachTaskOnceOnItsOwnThreads) {
  for (const unsigned workers : {1U, 2U, 4U}) {
    constexpr int kTasks = 3000;
    std::vector<std::atomic<int>> runs(kTasks * 3);
    const auto self = std::this_thread::get_id();
    du::TaskPool pool(workers);
    lmktest::OnThreads(3, [&](int producer) {
      for (int i = 0; i < kTasks; ++i) {
        pool.InsertTask(Make([&, at = producer * kTasks + i] {
          if (std::this_thread::get_id() != self) ++runs[static_cast<std::size_t>(at)];
        }));
      }
    });
    pool.StopTaskPool();
    EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& count) { return count == 1; }));
  }
}

// Each of two tasks waits until the other one runs.
TEST(TaskPool, LeavesNoWorkerAsleepWhileTasksWait) {
  du::TaskPool pool(2);
  for (int i = 0; i < 200; ++i) {
    dp::Semaphore first;
    dp::Semaphore second;
    dp::Semaphore done;
    pool.InsertTask(Make([&] {
      first.Signal();
      second.Wait(0);
      done.Signal();
    }));
    pool.InsertTask(Make([&] {
      second.Signal();
      first.Wait(0);
      done.Signal();
    }));
    done.Wait(0);
    done.Wait(0);
    if (i % 20 == 0) lmktest::GiveOthersTime();  // sometimes they sleep, sometimes they still look
  }
}

TEST(TaskPool, RunsTasksOnTheCallerWhenItsTargetIsZero) {
  du::TaskPool pool(0);
  std::thread::id ranOn;
  EXPECT_TRUE(pool.InsertTask(Make([&] { ranOn = std::this_thread::get_id(); })));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  EXPECT_TRUE(pool.InsertTask(Make([] { throw 1; })));
  pool.CompletePendingTasks();
  EXPECT_FALSE(pool.InsertTask(nullptr));
  pool.StopTaskPool();
  EXPECT_FALSE(pool.InsertTask(Make({})));
  pool.StartTaskPool();
  EXPECT_TRUE(pool.InsertTask(Make({})));
  {
    auto* const mortal = new du::TaskPool(0);
    Handle killer = Make([&] {
      killer = nullptr;
      delete mortal;
    });
    EXPECT_TRUE(mortal->InsertTask(killer));
  }
}

TEST(TaskPool, TracesTasksAndWhatTheyThrow) {
  struct Fails : Work {
    using Work::Work;
    du::Symbol GetName() override { throw std::runtime_error("no name"); }
  };
  struct Named : Work {
    using Work::Work;
    du::Symbol GetName() override { return "convert"; }
    void TaskComplete() override { throw std::runtime_error("x"); }
  };
  du::TaskPool pool(1);
  lmktest::TraceRecorder recorder;
  for (const Handle& task : {Make({}), Handle(new Named), Make([] { throw std::runtime_error("x"); }),
                             Make([] { throw 7; }), Handle(new Fails), Make({})}) {
    ASSERT_TRUE(pool.InsertTask(task));
  }
  pool.StopTaskPool();
  std::vector<std::string> lines;
  for (const lmktest::TracedRecord& record : recorder.Take()) {
    EXPECT_EQ(record.key + "/" + record.subKey, "du/TaskPool");
    EXPECT_EQ(record.type, record.text.starts_with("DoTask") ? dp::TraceType::Error : dp::TraceType::Debug);
    lines.push_back(record.text);
  }
  const std::string start = "Starting task  [<unknown task>]";
  const std::string end = "Completed task [<unknown task>]";
  EXPECT_THAT(lines,
              ElementsAre(start, end, "Starting task  [convert]", "Completed task [convert]",
                          "DoTask encountered a problem: x\n", start, "DoTask encountered a problem: x\n",
                          start, "DoTask encountered an unexpected problem.\n",
                          "DoTask encountered a problem: no name\n", start, end));
}

TEST(TaskPool, TakesQueuedTasksOut) {
  Log log;
  du::TaskPool pool(1);
  Gate gate;
  gate.Hold(pool, 1);
  std::vector<Handle> tasks;
  for (const char* name : {"a", "b", "c", "d"}) tasks.push_back(Make(log.Note(name)));
  for (const Handle& task : tasks) pool.InsertTask(task);
  pool.InsertTask(tasks[1]);
  EXPECT_EQ(pool.GetNumTasks(), 5U);
  EXPECT_EQ(tasks[1]->GetReferenceCount(), 3);
  EXPECT_TRUE(pool.RemoveTask(tasks[1]));
  EXPECT_EQ(tasks[1]->GetReferenceCount(), 2);
  EXPECT_TRUE(pool.RemoveTask(tasks[0]));
  EXPECT_FALSE(pool.RemoveTask(tasks[0]));
  EXPECT_FALSE(pool.RemoveTask(Make({})));
  pool.SetTargetThreads(0);
  EXPECT_FALSE(pool.RemoveTask(nullptr));  // not the order to end
  EXPECT_EQ(pool.GetNumTasks(), 4U);
  gate.Open();
  pool.StopTaskPool();
  EXPECT_THAT(log.Lines(), ElementsAre("c", "d", "b"));
  EXPECT_FALSE(pool.RemoveTask(tasks[2]));
  for (const Handle& task : tasks) EXPECT_EQ(task->GetReferenceCount(), 1);
}

// Against a plain list, over several chunks of the queue.
TEST(TaskPool, KeepsTheOrderOfWhatIsLeftAfterRandomRemovals) {
  lmktest::Random random(32);
  for (int round = 0; round < 5; ++round) {
    std::vector<int> order;
    std::vector<std::pair<int, Handle>> expected;
    du::TaskPool pool(1);
    Gate gate;
    gate.Hold(pool, 1);
    for (int i = 0; i < 3000; ++i) {
      if (random() % 3 == 0 && !expected.empty()) {
        const auto at = expected.begin() + static_cast<std::ptrdiff_t>(random() % expected.size());
        ASSERT_TRUE(pool.RemoveTask(at->second));
        expected.erase(at);
      } else {
        expected.emplace_back(i, Make([&, i] { order.push_back(i); }));
        pool.InsertTask(expected.back().second);
      }
      ASSERT_EQ(pool.GetNumTasks(), expected.size());
    }
    gate.Open();
    pool.StopTaskPool();
    ASSERT_EQ(order.size(), expected.size());
    for (std::size_t i = 0; i < order.size(); ++i) ASSERT_EQ(order[i], expected[i].first);
  }
}

TEST(TaskPool, LowersItsTargetBehindWhatIsQueued) {
  du::TaskPool pool(4);
  Gate gate;
  gate.Hold(pool, 4);
  std::atomic<int> runs{0};
  for (int i = 0; i < 10; ++i) pool.InsertTask(Make([&] { ++runs; }));
  EXPECT_EQ(pool.SetTargetThreads(1), 4U);
  EXPECT_EQ(pool.GetNumTasks(), 13U);
  EXPECT_EQ(pool.SetTargetThreads(2), 1U);  // one more than there will be
  EXPECT_EQ(pool.SetTargetThreads(0), 2U);
  gate.Open();
  lmktest::WaitUntil([&] { return pool.GetNumTasks() == 0; });
  EXPECT_EQ(pool.SetTargetThreads(3), 0U);
  for (int i = 0; i < 10; ++i) pool.InsertTask(Make([&] { ++runs; }));
  pool.StopTaskPool();
  EXPECT_EQ(runs, 20);
}

TEST(TaskPool, ChangesItsTargetWhileTasksRun) {
  du::TaskPool pool(2);
  std::atomic<int> runs{0};
  std::atomic<int> inserted{0};
  lmktest::OnThreads(3, [&](int thread) {
    lmktest::Random random(static_cast<std::uint32_t>(thread));
    for (int i = 0; i < 500; ++i) {
      if (thread == 0 && i % 10 == 0) pool.SetTargetThreads(random() % 5);
      if (pool.InsertTask(Make([&] { ++runs; }))) ++inserted;
      if (thread == 1 && i % 50 == 0) pool.CompletePendingTasks();
    }
  });
  pool.StopTaskPool();
  EXPECT_EQ(runs, inserted);
}

TEST(TaskPool, RefusesTasksWhileItCompletesOthers) {
  du::TaskPool pool(1);
  Gate gate;
  gate.Hold(pool, 1);
  bool ran = false;
  pool.InsertTask(Make([&] { ran = true; }));
  std::thread drain([&] { pool.CompletePendingTasks(); });
  lmktest::WaitUntil([&] { return !pool.InsertTask(Make({})); });
  gate.Open();
  drain.join();
  EXPECT_TRUE(pool.InsertTask(Make({})));
  pool.StopTaskPool();
  EXPECT_TRUE(ran);
}

TEST(TaskPool, StopsAndStartsAgainWithTheSameTarget) {
  Log log;
  du::TaskPool pool(2);
  pool.InsertTask(Make(log.Note("a")));
  pool.StopTaskPool();
  pool.StopTaskPool();
  EXPECT_FALSE(pool.InsertTask(Make(log.Note("lost"))));
  EXPECT_EQ(pool.SetTargetThreads(2), 2U);
  pool.CompletePendingTasks();  // which must not open it again
  EXPECT_FALSE(pool.InsertTask(Make(log.Note("lost"))));
  pool.StartTaskPool();
  pool.StartTaskPool();
  const Handle removed = Make(log.Note("removed"));
  Gate gate;
  gate.Hold(pool, 2);
  pool.InsertTask(removed);
  pool.RemoveTask(removed);
  gate.Open();
  pool.StopTaskPool();
  pool.StartTaskPool();
  pool.InsertTask(Make(log.Note("b")));
  pool.CompletePendingTasks();
  pool.StopTaskPool();
  EXPECT_THAT(log.Lines(), ElementsAre("a", "b"));
}

TEST(TaskPool, StopsForSeveralThreadsAtOnce) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> runs{0};
    std::atomic<int> inserted{0};
    du::TaskPool pool(3);
    lmktest::OnThreads(4, [&](int thread) {
      for (int i = 0; i < 50; ++i) inserted += pool.InsertTask(Make([&] { ++runs; })) ? 1 : 0;
      if (thread % 2 == 0) pool.StopTaskPool();
      EXPECT_TRUE(thread != 0 || !pool.InsertTask(Make({})));
    });
    pool.StopTaskPool();
    EXPECT_EQ(runs, inserted);
    EXPECT_EQ(pool.SetTargetThreads(1), 3U);
  }
}

// What a task does to its own pool, which has one or three workers; none of it may wait for the task itself.
TEST(TaskPool, IsUsedByItsOwnTasks) {
  for (const unsigned workers : {1U, 3U}) {
    std::atomic<int> runs{0};
    const auto count = [&] { return Make([&] { ++runs; }); };
    du::TaskPool pool(workers);
    dp::Semaphore done;
    Handle self;
    const auto inTask = [&](const std::function<void()>& use) {
      Gate gate;
      gate.Hold(pool, workers);
      self = Make([&] {
        use();
        done.Signal();
      });
      pool.InsertTask(self);
      for (int i = 0; i < 5; ++i) pool.InsertTask(count());
      gate.Open();
      done.Wait(0);
    };
    inTask([&] {
      for (int i = 0; i < 5; ++i) EXPECT_TRUE(pool.InsertTask(count()));
      EXPECT_FALSE(pool.RemoveTask(self));
    });
    inTask([&] { pool.CompletePendingTasks(); });
    pool.CompletePendingTasks();
    inTask([&] {
      pool.SetTargetThreads(2);
      pool.SetTargetThreads(workers);
    });
    inTask([&] {
      pool.StopTaskPool();
      pool.StartTaskPool();  // too early
      pool.CompletePendingTasks();
      EXPECT_FALSE(pool.InsertTask(count()));
    });
    pool.StartTaskPool();
    pool.InsertTask(count());
    pool.StopTaskPool();
    EXPECT_EQ(runs, 26);
  }
}

}  // namespace
