// The library's process-wide objects from their first use to the end of the process: in every order, from a
// static constructor, from main, from a thread and from a static destructor, whichever way the process ends,
// with tracing and without. Each case is a process of its own that must end by itself, with its own exit
// code, and say nothing on its error stream, where the sanitizers report.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/lmkutils.h"
#include "lmkutils/os/testing/quick_exit.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::Environment;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kExitCode = 7;

const dp::LMTracer kTracer("test", "Life");

// One setting of the case that this process plays; empty when it plays none.
std::string Setting(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

class Named : public du::CommonAllocated {
 public:
  du::Symbol GetDebugClassName() const override { return "Named"; }
};

// Keeps what the library gave it until a static destructor, which comes before the end of the library's own
// objects if they were first used in the constructor, and after it if they were first used in main.
class Keeper {
 public:
  Keeper() {
    if (Setting("LMK_LIFE_PLACE") == "constructor") UseAll();
  }

  ~Keeper() {
    const std::string place = Setting("LMK_LIFE_PLACE");
    if (place.empty()) return;
    if (place == "destructor") UseAll();
    kTracer("late");
    const du::Symbol copy = symbol_;
    OrDead([] { return du::Symbol("made in a destructor"); });
    OrDead([] { return dp::LmInfo::Instance().GetDataDirectory(); });
    OrDead([] { return dp::TraceController::Instance().GetConsumerCount(); });
    OrDead([] { return std::vector<int, du::CommonAllocator<int>>(100); });
    delete object_;
    Say('.');
  }

  void UseAll() {
    for (const char what : Setting("LMK_LIFE_ORDER")) Use(what);
  }

  void Use(char what) {
    switch (what) {
      case 'a':
        object_ = new Named;
        numbers_.resize(1000);
        break;
      case 'i':
        static_cast<void>(dp::LmInfo::Instance().GetTraceStyleSheet());
        break;
      case 's':
        symbol_ = "kept until the end";
        du::Symbol::DumpStats();
        break;
      case 't':
        dp::LMTraceController::Instance().Initialize();
        break;
    }
    kTracer("used %c", what);
    Say(what);
  }

 private:
  template <class Call>
  static void OrDead(Call call) {
    try {
      static_cast<void>(call());
    } catch (const dp::DeadReference&) {
    }
  }

  static void Say(char what) {
    std::putchar(what);
    std::fflush(stdout);
  }

  du::Symbol symbol_;
  std::vector<int, du::CommonAllocator<int>> numbers_;
  Named* object_ = nullptr;
};

Keeper keeper;

class UserThread : public dp::Thread {
 public:
  UserThread() : Thread("user") {}
  ~UserThread() override { WaitForThreadToTerminate(); }
  void Run() override { keeper.UseAll(); }
};

void UseFromThread() {
  UserThread thread;
  if (!thread.Start(false)) std::_Exit(1);
}

// Each first use on a thread of its own, all at once.
void UseFromThreads() {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (const char what : Setting("LMK_LIFE_ORDER")) {
    threads.emplace_back([&go, what] {
      while (!go) std::this_thread::yield();
      keeper.Use(what);
    });
  }
  go = true;
  for (std::thread& thread : threads) thread.join();
}

// Goes on while the process ends: tracing, time and environment are there to the very end.
void UseForEver(std::atomic<int>& rounds) {
  for (;; ++rounds) {
    kTracer(dp::TraceType::Info) << "busy " << du::LocalTimeVal(du::GetTime());
    if (dp::Environment::Get("LMK_LIFE_PLACE") != "busy") std::abort();
  }
}

void LeaveThreadsBusy() {
  static std::atomic<int> rounds{0};
  for (int i = 0; i < 2; ++i) std::thread([] { UseForEver(rounds); }).detach();
  while (rounds < 200) std::this_thread::yield();
}

int End(const std::string& way) {
  if (way == "exit") std::exit(kExitCode);
  if (way == "quick_exit") os::testing::QuickExit(kExitCode);
  if (way == "thread") std::thread([] { std::exit(kExitCode); }).join();
  return kExitCode;
}

const lmktest::ChildRole kLife("life", [](const std::vector<std::string>& args) {
  const std::string place = Setting("LMK_LIFE_PLACE");
  if (place == "main" || place == "busy") keeper.UseAll();
  if (place == "thread") UseFromThread();
  if (place == "threads") UseFromThreads();
  if (place == "busy") LeaveThreadsBusy();
  return End(args.at(0));
});

constexpr const char* kWays[] = {"return", "exit", "quick_exit", "thread"};

class LifeTest : public testing::TestWithParam<std::tuple<const char*, bool>> {
 protected:
  std::string Place() const { return std::get<0>(GetParam()); }
  bool IsTracing() const { return std::get<1>(GetParam()); }

  // The case of that number; all numbers together go through the trace forms.
  ChildResult Live(const std::string& order, const std::string& way, std::size_t number) {
    static constexpr const char* kForms[] = {"plain", "json", "xml"};
    const std::string form = kForms[number % std::size(kForms)];
    trace_ = "trace" + std::to_string(number) + "." + form;
    Environment environment = {{"LMK_LIFE_PLACE", Place()},   {"LMK_LIFE_ORDER", order},
                               {"LUMORA_TRACE", ""},          {"LUMORA_PROC_TRACE", ""},
                               {"LUMORA_TRACE_FORMAT", form}, {"LUMORA_TRACE_LEVEL", ""},
                               {"LMTRACE_DEBUG", ""},         {"TRACKING_ID", ""}};
    if (IsTracing()) environment.emplace_back("LUMORA_TRACE", directory_.File(trace_));
    return lmktest::RunSelf("life", {way}, environment);
  }

  std::string Traced() const { return directory_.Read(trace_); }

  static void ExpectCleanEnd(const ChildResult& result) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_FALSE(result.crashed);
    EXPECT_EQ(result.exitCode, kExitCode);
    EXPECT_THAT(result.err, IsEmpty());
  }

 private:
  const lmktest::TempDir directory_{"life"};
  std::string trace_;
};

std::string CaseName(const testing::TestParamInfo<std::tuple<const char*, bool>>& info) {
  return std::string(std::get<0>(info.param)) + (std::get<1>(info.param) ? "_tracing" : "_quiet");
}

class OrderTest : public LifeTest {};

TEST_P(OrderTest, EveryOrderOfFirstUseEndsCleanly) {
  std::string order = "aist";
  std::size_t number = IsTracing() ? 1 : 0;  // other pairs of order and way
  do {
    const std::string way = kWays[number % std::size(kWays)];
    SCOPED_TRACE(order + " " + way);
    const ChildResult result = Live(order, way, number++);
    ExpectCleanEnd(result);
    const bool usesAtExit = Place() == "destructor" && way == "quick_exit";
    EXPECT_EQ(result.out, (usesAtExit ? "" : order) + (way == "quick_exit" ? "" : "."));
    if (!IsTracing() || usesAtExit) continue;
    const std::string traced = Traced();
    for (std::size_t at = order.find('t'); at < order.size(); ++at) {
      EXPECT_THAT(traced, HasSubstr(std::string("used ") + order[at]));
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

INSTANTIATE_TEST_SUITE_P(Life, OrderTest,
                         testing::Combine(testing::Values("constructor", "main", "thread", "destructor"),
                                          testing::Bool()),
                         CaseName);

class ThreadsTest : public LifeTest {};

TEST_P(ThreadsTest, FirstUsesAndTheEndMayCoincide) {
  for (std::size_t number = 0; number < 12; ++number) {
    const std::string way = kWays[number % std::size(kWays)];
    SCOPED_TRACE(way);
    ChildResult result = Live("aist", way, number);
    ExpectCleanEnd(result);
    std::sort(result.out.begin(), result.out.end());
    EXPECT_EQ(result.out, way == "quick_exit" ? "aist" : ".aist");
  }
}

INSTANTIATE_TEST_SUITE_P(Life, ThreadsTest,
                         testing::Combine(testing::Values("threads", "busy"), testing::Bool()), CaseName);

}  // namespace
