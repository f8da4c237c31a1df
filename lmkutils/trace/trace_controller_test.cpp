#include "lmkutils/trace/trace_controller.h"

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include "lmkutils/testing/trace_recorder.h"
#include "lmkutils/trace/internal/environment_consumer.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_trace_controller.h"
#include "lmkutils/trace/lm_tracer.h"
#include "lmkutils/trace/trace_consumer.h"
#include "lmkutils/trace/trace_formatter.h"

namespace {

using dp::LMTracer;
using dp::TraceConsumer;
using dp::TraceController;
using dp::TraceFormatter;
using dp::TraceType;
using testing::ElementsAre;
using testing::IsEmpty;

const LMTracer kTracer("test", "Controller");

TraceController& Controller() {
  return TraceController::Instance();
}

// Answers with a function and tells what was called.
class ScriptedConsumer : public TraceConsumer {
 public:
  using Answer = std::function<bool(const TraceFormatter&)>;
  ScriptedConsumer(std::vector<std::string>& calls, Answer answer)
      : calls_(calls), answer_(std::move(answer)) {}
  ~ScriptedConsumer() override { calls_.push_back("destroyed"); }
  bool ConsumeMessage(const TraceFormatter* record) override {
    calls_.push_back(record->GetKey() == std::string("TraceConsumer") ? "header" : record->GetMesg());
    return answer_(*record);
  }
  void Install() override { calls_.push_back("install"); }
  void Release() override { calls_.push_back("release"); }

 private:
  std::vector<std::string>& calls_;
  Answer answer_;
};

TraceConsumer* Add(std::vector<std::string>& calls, ScriptedConsumer::Answer answer) {
  auto consumer = std::make_unique<ScriptedConsumer>(calls, std::move(answer));
  TraceConsumer* const added = consumer.get();
  EXPECT_TRUE(Controller().AddConsumer(std::move(consumer)));
  return added;
}

TEST(TraceController, OneObjectUnderTwoNames) {
  EXPECT_EQ(&TraceController::Instance(), &dp::LMTraceController::Instance());
  EXPECT_EQ(0xFFFFFFFFU, GetLongevity(&TraceController::Instance()));
  EXPECT_EQ(0xFFFFFFFFU, GetLongevity(&dp::LMTraceController::Instance()));
}

TEST(TraceController, ConsumersHaveALife) {
  const std::size_t others = Controller().GetConsumerCount();
  std::vector<std::string> calls;
  TraceConsumer* const consumer = Add(calls, [](const auto&) { return true; });
  EXPECT_TRUE(Controller().IsActive());
  EXPECT_TRUE(Controller().HasConsumer(consumer));
  EXPECT_EQ(others + 1, Controller().GetConsumerCount());
  kTracer("text");
  EXPECT_TRUE(Controller().RemoveConsumer(consumer));
  kTracer("late");
  EXPECT_THAT(calls, ElementsAre("install", "header", "text", "release", "destroyed"));
  EXPECT_FALSE(Controller().HasConsumer(consumer));
  EXPECT_FALSE(Controller().RemoveConsumer(consumer));
  EXPECT_FALSE(Controller().RemoveConsumer(nullptr));
  EXPECT_FALSE(Controller().AddConsumer(nullptr));
  EXPECT_EQ(others != 0, Controller().IsActive());
}

TEST(TraceController, HeaderGoesToTheNewConsumerOnly) {
  lmktest::TraceRecorder older;
  std::vector<std::string> calls;
  std::string header;
  TraceConsumer* const consumer = Add(calls, [&header](const TraceFormatter& record) {
    header = record.GetMesg();
    EXPECT_STREQ("Trace", record.GetSubKey());
    EXPECT_EQ(TraceType::Info, record.GetType());
    return false;
  });
  EXPECT_THAT(header,
              testing::MatchesRegex("Version: 20\\.0\\.0\\.0, Platform: .+, Operating System: .+ , .+"));
  EXPECT_THAT(older.Take(), IsEmpty());
  Controller().RemoveConsumer(consumer);
}

TEST(TraceController, NewestFirstAndOlderOnesAsFallBack) {
  lmktest::TraceRecorder oldest;
  std::vector<std::string> calls;
  bool takes = true;
  TraceConsumer* const refusing = Add(calls, [&takes](const auto&) { return takes; });
  TraceConsumer* const throwing = Add(calls, [](const auto&) -> bool { throw std::runtime_error("no"); });
  calls.clear();
  kTracer("first");
  EXPECT_THAT(calls, ElementsAre("first", "first"));
  EXPECT_THAT(oldest.Take(), IsEmpty());
  takes = false;
  const std::uint64_t dropped = TraceController::GetDroppedCount();
  kTracer("second");
  EXPECT_THAT(oldest.TakeTexts(), ElementsAre("second"));
  EXPECT_EQ(dropped, TraceController::GetDroppedCount());
  Controller().RemoveConsumer(throwing);
  Controller().RemoveConsumer(refusing);
}

TEST(TraceController, RecordsThatNobodyTakesAreCounted) {
  std::vector<std::string> calls;
  Controller().RemoveAllConsumers();
  Add(calls, [](const auto&) { return false; });
  Add(calls, [](const auto&) { return false; });
  const std::uint64_t dropped = TraceController::GetDroppedCount();
  kTracer("lost");
  EXPECT_EQ(dropped + 1, TraceController::GetDroppedCount());
  calls.clear();
  Controller().RemoveAllConsumers();
  EXPECT_THAT(calls, ElementsAre("release", "destroyed", "release", "destroyed"));
  EXPECT_FALSE(Controller().IsActive());
  kTracer("off");
  EXPECT_EQ(dropped + 1, TraceController::GetDroppedCount());
}

TEST(TraceController, WhatAConsumerTracesIsDroppedAndCounted) {
  std::vector<std::string> calls;
  TraceConsumer* own = nullptr;
  own = Add(calls, [&own](const TraceFormatter& record) {
    kTracer("from within");
    dp::LMDebugTracer("test", "NoMask")(1U, "asks for its mask from within");
    TraceFormatter copy(record);
    copy << " again";
    EXPECT_FALSE(Controller().RemoveConsumer(own));
    EXPECT_FALSE(Controller().HasConsumer(own));
    EXPECT_EQ(0U, Controller().GetConsumerCount());
    Controller().RemoveAllConsumers();
    Controller().Initialize();
    EXPECT_FALSE(Controller().AddConsumer(nullptr));
    return true;
  });
  calls.clear();
  const std::uint64_t dropped = TraceController::GetDroppedCount();
  kTracer("outer");
  EXPECT_THAT(calls, ElementsAre("outer"));
  EXPECT_EQ(dropped + 2, TraceController::GetDroppedCount());
  EXPECT_TRUE(Controller().RemoveConsumer(own));
}

TEST(TraceController, RecordsOfManyThreadsArriveWholeAndInOrder) {
  lmktest::TraceRecorder recorder;
  constexpr int kThreads = 4;
  constexpr int kRecords = 500;
  const std::uint64_t dropped = TraceController::GetDroppedCount();
  std::atomic<bool> stop{false};
  std::thread meddler([&stop] {
    while (!stop) {
      std::vector<std::string> calls;
      TraceConsumer* const consumer = Add(calls, [](const auto&) { return false; });
      Controller().RemoveConsumer(consumer);
    }
  });
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kRecords; ++i) kTracer("%d %d", t, i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  stop = true;
  meddler.join();
  std::vector<int> next(kThreads);
  const auto records = recorder.Take();
  for (const auto& record : records) {
    int thread = -1;
    int number = -1;
    ASSERT_EQ(2, std::sscanf(record.text.c_str(), "%d %d", &thread, &number));
    EXPECT_EQ(next.at(static_cast<std::size_t>(thread))++, number);
  }
  EXPECT_EQ(std::size_t{kThreads} * kRecords, records.size());
  EXPECT_EQ(dropped, TraceController::GetDroppedCount());
}

// Calls the base bodies.
class LazyConsumer : public TraceConsumer {
 public:
  bool ConsumeMessage(const TraceFormatter* record) override { return TraceConsumer::ConsumeMessage(record); }
  void Install() override { TraceConsumer::Install(); }
  void Release() override { TraceConsumer::Release(); }
};

TEST(TraceConsumer, BaseBodiesSayWhatIsMissing) {
  const auto said = [](void (*call)(LazyConsumer&)) {
    LazyConsumer consumer;
    LazyConsumer copy = consumer;
    testing::internal::CaptureStderr();
    call(copy);
    return testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(
      "Missing override for pure virtual function TraceConsumer::ConsumeMessage(const TraceFormatter* "
      "formatter)",
      said([](LazyConsumer& consumer) { consumer.ConsumeMessage(nullptr); }));
  EXPECT_EQ("Missing override for pure virtual function TraceConsumer::Install()",
            said([](LazyConsumer& consumer) { consumer.Install(); }));
  EXPECT_EQ("Missing override for pure virtual function TraceConsumer::Release()",
            said([](LazyConsumer& consumer) { consumer.Release(); }));
}

TEST(EnvironmentConsumer, PathOfAProcess) {
  const char* const cases[][2] = {
      {"trace.log", "trace_1234.log"},
      {"/a.b/trace.log", "/a.b/trace_1234.log"},
      {"\\\\?\\C:\\dir\\trace.log", "\\\\?\\C:\\dir\\trace_1234.log"},
      {"C:trace.log", "C:trace_1234.log"},
      {"dir/trace", "dir/trace_1234"},
      {"dir/trace.", "dir/trace_1234."},
      {"dir/a.b.json", "dir/a.b_1234.json"},
      {"dir/.json", "dir/_1234.json"},
      {"dir/Prüfung.xml", "dir/Prüfung_1234.xml"},
  };
  for (const auto& [path, expected] : cases)
    EXPECT_EQ(expected, dp::internal::PathOfProcess(path, 1234)) << path;
}

}  // namespace
