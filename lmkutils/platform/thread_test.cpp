#include "lmkutils/platform/thread.h"

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

// Runs what it is given.
class Worker : public dp::Thread {
 public:
  explicit Worker(std::function<void()> run, std::function<void()> initialize = {},
                  const char* name = nullptr, unsigned stackSize = kDefaultStackSize)
      : dp::Thread(name, stackSize), run_(std::move(run)), initialize_(std::move(initialize)) {}
  ~Worker() override { WaitForThreadToTerminate(); }

  void Initialize() override {
    if (initialize_) initialize_();
  }
  void Run() override {
    if (run_) run_();
  }

 private:
  const std::function<void()> run_;
  const std::function<void()> initialize_;
};

TEST(Thread, KnowsItselfWhileItsBodyRuns) {
  EXPECT_EQ(dp::Thread::GetCurrentThread(), nullptr);
  for (const bool synchronous : {false, true}) {
    dp::Semaphore go;
    unsigned idInside = 0;
    dp::Thread* current = nullptr;
    Worker worker([&] {
      idInside = dp::Thread::GetCurrentThreadId();
      current = dp::Thread::GetCurrentThread();
      go.Wait(0);
    });
    EXPECT_EQ(worker.GetThreadId(), 0U);
    EXPECT_FALSE(worker.ThreadIsRunning());
    ASSERT_TRUE(worker.Start(synchronous));
    EXPECT_TRUE(worker.ThreadIsRunning());
    const unsigned idOutside = worker.GetThreadId();
    go.Signal();
    worker.WaitForThreadToTerminate();
    EXPECT_EQ(idOutside, idInside);
    EXPECT_NE(idInside, dp::Thread::GetCurrentThreadId());
    EXPECT_EQ(current, &worker);
    EXPECT_FALSE(worker.ThreadIsRunning());
    EXPECT_EQ(worker.GetThreadId(), 0U);
  }
  lmktest::OnOtherThread([] { EXPECT_EQ(dp::Thread::GetCurrentThread(), nullptr); });
}

TEST(Thread, ASynchronousStartWaitsForInitialize) {
  std::atomic<bool> initialized{false};
  dp::Semaphore go;
  Worker worker([&] { go.Wait(0); },
                [&] {
                  lmktest::GiveOthersTime();
                  initialized = true;
                });
  ASSERT_TRUE(worker.Start(true));
  EXPECT_TRUE(initialized);
  go.Signal();
}

// The id must be 0 after the end, however soon that comes.
TEST(Thread, StartsAgainAfterEachEnd) {
  std::atomic<int> runs{0};
  Worker worker([&] { ++runs; });
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(worker.Start(i % 2 == 0));
    worker.WaitForThreadToTerminate();
    ASSERT_EQ(worker.GetThreadId(), 0U);
    ASSERT_EQ(runs, i + 1);
  }
}

TEST(Thread, DoesNotStartTwice) {
  dp::Semaphore go;
  std::atomic<int> runs{0};
  Worker worker([&] {
    ++runs;
    go.Wait(0);
  });
  lmktest::TraceRecorder recorder;
  std::atomic<int> started{0};
  lmktest::OnThreads(4, [&](int number) { started += worker.Start(number % 2 == 0) ? 1 : 0; });
  EXPECT_EQ(started, 1);
  go.Signal();
  worker.WaitForThreadToTerminate();
  EXPECT_EQ(runs, 1);
  const auto records = recorder.Take();
  ASSERT_EQ(records.size(), 3U);
  for (const lmktest::TracedRecord& record : records) {
    EXPECT_EQ(record.key + "/" + record.subKey, "dp/Thread");
    EXPECT_EQ(record.type, dp::TraceType::Info);
    EXPECT_EQ(record.text, "Failed to create thread - thread is already running.\n");
  }
}

TEST(Thread, ThatCannotBeCreatedMayBeStartedLater) {
  int runs = 0;
  Worker worker([&] { ++runs; });
  lmktest::TraceRecorder recorder;
  for (const bool synchronous : {true, false}) {
    const os::fault::Arming noThread(os::fault::Call::kThreadStart);
    EXPECT_FALSE(worker.Start(synchronous));
    EXPECT_FALSE(worker.ThreadIsRunning());
    EXPECT_EQ(worker.GetThreadId(), 0U);
    worker.WaitForThreadToTerminate();
    EXPECT_TRUE(worker.Start(synchronous));
    worker.WaitForThreadToTerminate();
  }
  EXPECT_EQ(runs, 2);
  const std::string failure = "Failed to create thread (8)\n";
  EXPECT_THAT(recorder.TakeTexts(), testing::ElementsAre(failure, failure));
  const os::fault::Arming noMemory(os::fault::Call::kHeapAllocate);  // for the start lock
  EXPECT_FALSE(worker.Start(true));
}

TEST(Thread, TracesExceptionsOfItsBody) {
  const struct {
    std::function<void()> fail;
    std::string caught;
  } cases[] = {
      {[] { throw std::runtime_error("on 100% purpose"); }, " caught exception(\"on 100% purpose\").\n"},
      {[] { throw 7; }, " caught unknown exception.\n"},
  };
  lmktest::TraceRecorder recorder;
  for (const auto& item : cases) {
    bool ran = false;
    Worker inRun(item.fail);
    EXPECT_TRUE(inRun.Start(true));
    inRun.WaitForThreadToTerminate();
    EXPECT_EQ(inRun.GetThreadId(), 0U);
    Worker inInitialize([&] { ran = true; }, item.fail, "a name");
    EXPECT_TRUE(inInitialize.Start(true));
    inInitialize.WaitForThreadToTerminate();
    EXPECT_FALSE(ran);
    EXPECT_THAT(recorder.TakeTexts(),
                testing::ElementsAre(" Thread " + item.caught, " Thread a name" + item.caught));
  }
}

TEST(Thread, ManyMayWaitForOneThatStartsAgain) {
  std::atomic<bool> stop{false};
  Worker worker({});
  std::thread starter([&] {
    for (int i = 0; i < 100; ++i) {
      worker.Start(false);
      worker.WaitForThreadToTerminate();
    }
    stop = true;
  });
  lmktest::OnThreads(3, [&](int) {
    while (!stop) {
      worker.WaitForThreadToTerminate();
      static_cast<void>(worker.ThreadIsRunning());
      dp::Thread::Yield();
    }
  });
  starter.join();
}

TEST(Thread, ItsDestructorWaits) {
  std::atomic<bool> done{false};
  dp::Semaphore running;
  {
    Worker worker([&] {
      running.Signal();
      lmktest::GiveOthersTime();
      done = true;
    });
    ASSERT_TRUE(worker.Start(false));
    running.Wait(0);
  }
  EXPECT_TRUE(done);
}

TEST(Thread, DoesNotWaitForItself) {
  bool returned = false;
  Worker* self = nullptr;
  Worker worker([&] {
    self->WaitForThreadToTerminate();
    returned = true;
  });
  self = &worker;
  worker.Start(false);
  worker.WaitForThreadToTerminate();
  EXPECT_TRUE(returned);
}

std::atomic<int> selfDestroyed{0};

class DestroysItself : public dp::Thread {
 public:
  void Run() override {
    ScheduleAtThreadExitCall(1, [] { ++selfDestroyed; });
    delete this;
    EXPECT_EQ(GetCurrentThread(), nullptr);
  }
};

TEST(Thread, MayDestroyItsObject) {
  selfDestroyed = 0;
  constexpr int kThreads = 40;
  for (int i = 0; i < kThreads; ++i) {
    auto thread = std::make_unique<DestroysItself>();
    ASSERT_TRUE(thread.release()->Start(i % 2 == 0));
  }
  lmktest::WaitUntil([] { return selfDestroyed == kThreads; });
}

std::string exitCalls;
template <char Name>
void ExitCall() {
  exitCalls += Name;
}
void ExitCallThatThrows() {
  exitCalls += '!';
  throw std::runtime_error("from an exit call");
}
void ExitCallThatSchedules() {
  exitCalls += '+';
  dp::Thread::GetCurrentThread()->ScheduleAtThreadExitCall(4, ExitCall<'n'>);
}

TEST(Thread, RunsItsExitCallsInOrder) {
  std::string bodyDone;
  Worker worker([&] {
    dp::Thread& self = *dp::Thread::GetCurrentThread();
    self.ScheduleAtThreadExitCall(5, ExitCall<'c'>);
    self.ScheduleAtThreadExitCall(2, ExitCallThatThrows);
    self.ScheduleAtThreadExitCall(5, ExitCall<'b'>);
    self.ScheduleAtThreadExitCall(1, ExitCall<'x'>);
    self.ScheduleAtThreadExitCall(3, ExitCallThatSchedules);
    self.CancelAtThreadExitCall(ExitCall<'x'>);
    bodyDone = exitCalls;
    throw std::runtime_error("the calls run all the same");
  });
  exitCalls.clear();
  worker.ScheduleAtThreadExitCall(9, ExitCall<'d'>);
  ASSERT_TRUE(worker.Start(false));
  worker.WaitForThreadToTerminate();
  EXPECT_EQ(bodyDone, "");
  EXPECT_EQ(exitCalls, "!+nbcd");
  worker.ScheduleAtThreadExitCall(1, ExitCall<'z'>);  // never run: dropped with the object
}

template <std::size_t Size>
void UseStack() {
  volatile char block[Size];
  for (std::size_t i = 0; i < Size; i += 1024) block[i] = 1;
  EXPECT_EQ(block[0], 1);
}

TEST(Thread, HasTheStackThatItAskedFor) {
  Worker usual(UseStack<160 * 1024>);
  Worker large(UseStack<3 * 1024 * 1024>, {}, "large", 4 * 1024 * 1024);
  Worker tiny({}, {}, "a name longer than systems take", 1);
  for (Worker* worker : {&usual, &large, &tiny}) {
    EXPECT_TRUE(worker->Start(true));
    worker->WaitForThreadToTerminate();
  }
}

// The answer of a process with one thread.
const lmktest::ChildRole kAloneRole("thread_alone", [](const std::vector<std::string>&) {
  return os::OtherThreadsRun() ? 1 : 0;
});

TEST(OtherThreads, AreSeenWhereTheyOutliveTheExit) {
  EXPECT_EQ(0, lmktest::RunSelf("thread_alone").exitCode);
  lmktest::OnOtherThread([] { EXPECT_EQ(!os::GetCapabilities().exitKillsThreads, os::OtherThreadsRun()); });
}

}  // namespace
