// What only a process of its own can show: the environment read at its start, and the ways to its end.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <thread>

#include <gmock/gmock.h>

#include "lmkutils/os/testing/fork.h"
#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_trace_controller.h"
#include "lmkutils/trace/lm_tracer.h"

namespace {

using dp::LMTraceController;
using dp::TraceController;
using dp::TraceType;
using lmktest::ChildResult;
using lmktest::Environment;
using lmktest::RunSelf;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const dp::LMTracer kTracer("test", "Process");

// The usual start of a program; the installation root comes from a variable, since it may not be ASCII.
const lmktest::ChildRole kTrace("trace", [](const std::vector<std::string>&) {
  const std::string root = dp::Environment::Get("LMK_TEST_ROOT");
  if (!root.empty()) dp::LmInfo::SetInstallationRoot(root);
  kTracer("before the start");
  LMTraceController::Instance().Initialize();
  LMTraceController::Instance().Initialize();
  kTracer("one %d", 1);
  kTracer(TraceType::Warning, {"a", "1"});
  dp::LMDebugTracer("du", "Symbol")(2U, "masked by 3");
  dp::LMDebugTracer("du", "Symbol")(4U, "outside of 3");
  dp::LMDebugTracer("io", "")(4U) << "masked by 4";
  dp::LMDebugTracer("io", nullptr)(4U, "null is empty");
  return static_cast<int>(TraceController::Instance().GetConsumerCount());
});

class TraceProcess : public testing::Test {
 protected:
  ChildResult Trace(const Environment& environment) const {
    Environment all = {{"LUMORA_TRACE", ""},       {"LUMORA_PROC_TRACE", ""}, {"LUMORA_TRACE_FORMAT", ""},
                       {"LUMORA_TRACE_LEVEL", ""}, {"TRACKING_ID", ""},       {"LMTRACE_DEBUG", ""}};
    all.insert(all.end(), environment.begin(), environment.end());
    return RunSelf("trace", {}, all);
  }

  // How many of the file's records have one of these texts; a record that is torn, or has a text that is in
  // neither list, fails the test.
  int WholeRecords(const std::vector<std::string_view>& texts,
                   const std::vector<std::string_view>& others = {}) const {
    int count = 0;
    std::istringstream lines(directory_.Read("trace.log"));
    for (std::string line; std::getline(lines, line);) {
      const std::size_t at = line.find(" test Process ");
      const std::string text = at != line.npos ? line.substr(at + 14) : "";
      const bool isOne = std::find(texts.begin(), texts.end(), text) != texts.end();
      count += isOne;
      EXPECT_TRUE(line.starts_with("Info    ") || line.starts_with("Error   ")) << line;
      EXPECT_TRUE(isOne || line.find(" TraceConsumer Trace Version: ") != line.npos ||
                  std::find(others.begin(), others.end(), text) != others.end())
          << line;
    }
    return count;
  }

  const lmktest::TempDir directory_{"Spur ä"};
};

TEST_F(TraceProcess, NothingIsTracedUnlessAskedFor) {
  const ChildResult result = Trace({{"LUMORA_TRACE_FORMAT", "json"}});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_THAT(result.out + result.err, IsEmpty());
}

TEST_F(TraceProcess, StandardStreams) {
  const auto isTrace =
      AllOf(StartsWith("Info    "), HasSubstr(" TraceConsumer Trace Version: 20.0.0.0, Platform: "),
            Not(HasSubstr("before")), HasSubstr(" test Process one 1\nWarning "),
            HasSubstr(" test Process a = 1\n"), Not(HasSubstr("masked")));
  const ChildResult out = Trace({{"LUMORA_TRACE", "stdout"}});
  EXPECT_THAT(out.out, isTrace);
  EXPECT_THAT(out.err, IsEmpty());
  const ChildResult err = Trace({{"LUMORA_PROC_TRACE", "stderr"}, {"LUMORA_TRACE", "stdout"}});
  EXPECT_THAT(err.err, isTrace);
  EXPECT_THAT(err.out, IsEmpty());
  EXPECT_EQ(1, err.exitCode);
}

TEST_F(TraceProcess, JsonFileWithLevelsAndTrackingId) {
  const ChildResult result = Trace({{"LUMORA_TRACE", directory_.File("trace.log")},
                                    {"LUMORA_TRACE_FORMAT", "json"},
                                    {"LUMORA_TRACE_LEVEL", "warn"},
                                    {"TRACKING_ID", "\"42\""}});
  EXPECT_THAT(
      directory_.Read("trace.log"),
      AllOf(
          StartsWith(R"({"level" :"warn", "trackingId" :"\"42\"", "subkey" :"Process", "source" :"test", )"),
          EndsWith(R"("message" :{"a": "1"}})"
                   "\n")));
  EXPECT_THAT(result.out + result.err, IsEmpty());
}

TEST_F(TraceProcess, AFilePerProcess) {
  const ChildResult result = Trace({{"LUMORA_PROC_TRACE", directory_.File("trace.log")},
                                    {"LMTRACE_DEBUG", " "},
                                    {"LUMORA_TRACE", directory_.File("unused.log")}});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_THAT(directory_.Read("trace.log") + directory_.Read("unused.log"), IsEmpty());
  const ChildResult named =
      Trace({{"LUMORA_PROC_TRACE", directory_.File("named.log")}, {"LMTRACE_DEBUG", "du=1"}});
  ASSERT_THAT(named.out, AllOf(StartsWith("Trace file: named_"), EndsWith(".log\n")));
  const std::string id = named.out.substr(18, named.out.size() - 18 - 5);
  EXPECT_THAT(directory_.Read("named_" + id + ".log"), HasSubstr(" " + id + " "));
  EXPECT_THAT(result.out, IsEmpty()) << "a blank LMTRACE_DEBUG is as none";
}

TEST_F(TraceProcess, DebugMasks) {
  const auto traced = [this](const char* masks) {
    Trace({{"LUMORA_TRACE", directory_.File("trace.log")}, {"LMTRACE_DEBUG", masks}});
    return directory_.Read("trace.log");
  };
  EXPECT_THAT(traced("du::Symbol=0x3, io = 4"),
              AllOf(HasSubstr("Debug   "), HasSubstr(" du Symbol masked by 3\n"), Not(HasSubstr("outside")),
                    HasSubstr(" io  masked by 4\n"), HasSubstr(" io  null is empty\n")));
  EXPECT_THAT(traced("du::Symbol=three, io = 4"), Not(HasSubstr("masked")));
}

TEST_F(TraceProcess, XmlWithAndWithoutStyleSheet) {
  const std::string file = directory_.File("trace.xml");
  // The format says JSON: the path's XML goes first, and JSON is what is left without a style sheet.
  Trace({{"LUMORA_TRACE", file}, {"LUMORA_TRACE_FORMAT", "json"}, {"LMK_TEST_ROOT", directory_.Path()}});
  EXPECT_THAT(
      directory_.Read("trace.xml"),
      StartsWith("Error: Lmtrace XSL file not available. Trace will be plain text.\n{\"level\" :\"info\""));
  std::filesystem::create_directories(
      std::filesystem::path(std::u8string(directory_.Path().begin(), directory_.Path().end())) /
      "share/lumora/lmtrace");
  directory_.Write("share/lumora/lmtrace/lmtrace.xsl", "<x/>");
  Trace({{"LUMORA_TRACE", file}, {"LMK_TEST_ROOT", directory_.Path()}});
  EXPECT_THAT(directory_.Read("trace.xml"),
              AllOf(StartsWith("<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" href=\""),
                    HasSubstr("lmtrace.xsl\"?>\n<lmtrace:log xmlns:lmtrace=\"urn::uuid::"),
                    HasSubstr("one 1</lmtrace:mesg>\n"), EndsWith("</lmtrace:log>")));
}

TEST_F(TraceProcess, AFileThatCannotBeWrittenLosesItsRecordsSilently) {
  for (const std::string& path : {directory_.Path(), directory_.File("missing/trace.log")}) {
    const ChildResult result = Trace({{"LUMORA_TRACE", path}});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_THAT(result.out + result.err, IsEmpty());
  }
}

// Traces from its constructor, long before main, and from its destructor, before the controller's end; the
// second one is born before the controller and dies after it.
struct EarlyTracer {
  EarlyTracer() {
    if (std::getenv("LMK_TEST_EARLY") == nullptr) return;
    LMTraceController::Instance().Initialize();
    kTracer("from a constructor");
  }
  ~EarlyTracer() {
    if (std::getenv("LMK_TEST_EARLY") != nullptr) kTracer("from a destructor");
  }
};

struct LateTracer {
  ~LateTracer() {
    if (std::getenv("LMK_TEST_EARLY") == nullptr) return;
    const std::uint64_t dropped = TraceController::GetDroppedCount();
    kTracer("too late");
    kTracer(TraceType::Error) << "too late";
    std::fprintf(stderr, "%d dropped", static_cast<int>(TraceController::GetDroppedCount() - dropped));
    try {
      TraceController::Instance();
    } catch (const dp::DeadReference& error) {
      std::fprintf(stderr, ", %s", error.what());
    }
  }
};

const LateTracer lateTracer;
const EarlyTracer earlyTracer;

const lmktest::ChildRole kNothing("nothing", [](const std::vector<std::string>&) { return 0; });

TEST_F(TraceProcess, StaticObjectsTraceOrAreCounted) {
  const ChildResult result =
      RunSelf("nothing", {}, {{"LMK_TEST_EARLY", "1"}, {"LUMORA_TRACE", directory_.File("trace.log")}});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_THAT(
      directory_.Read("trace.log"),
      AllOf(HasSubstr("from a constructor\n"), EndsWith("from a destructor\n"), Not(HasSubstr("too late"))));
  EXPECT_EQ("2 dropped, Dead Reference Detected", result.err);
}

// Threads that trace on while the process ends in the way that the argument names.
const lmktest::ChildRole kEnd("end", [](const std::vector<std::string>& args) {
  LMTraceController::Instance().Initialize();
  static std::atomic<int> started{0};
  for (int i = 0; i < 3; ++i) {
    std::thread([] {
      for (;;) {
        kTracer("%s %d", "a detached thread", 7);
        kTracer(TraceType::Error) << "streams " << 1.5;
        ++started;
      }
    }).detach();
  }
  while (started < 100) std::this_thread::yield();
  if (args[0] == "exit") std::exit(5);
  if (args[0] == "_Exit") std::_Exit(5);
  if (args[0] == "abort") std::abort();
  if (args[0] == "thread") {
    std::thread([] { std::exit(5); }).detach();
    for (;;) std::this_thread::yield();
  }
  return 5;
});

TEST_F(TraceProcess, EndsWhileDetachedThreadsTrace) {
  for (const char* way : {"return", "exit", "_Exit", "thread", "abort"}) {
    const ChildResult result = RunSelf("end", {way}, {{"LUMORA_TRACE", directory_.File("trace.log")}});
    EXPECT_FALSE(result.timedOut) << way;
    EXPECT_EQ(way == std::string("abort"), result.crashed) << way << result.err;
    EXPECT_TRUE(result.crashed || result.exitCode == 5) << way << result.exitCode << result.err;
    EXPECT_GE(WholeRecords({"a detached thread 7", "streams 1.5"}), 0) << way;
  }
}

// Forks while other threads trace; each child traces one record.
const lmktest::ChildRole kFork("fork", [](const std::vector<std::string>&) {
  LMTraceController::Instance().Initialize();
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  threads.reserve(2);
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&stop] {
      // The pauses let the forking thread have the lock, which serves whoever comes first.
      for (; !stop; std::this_thread::sleep_for(std::chrono::microseconds(20))) kTracer("parent");
    });
  }
  int failed = 0;
  for (int i = 0; i < 20; ++i) {
    failed += os::testing::RunForked([] {
                kTracer("child");
                return 0;
              }) != 0;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  return failed;
});

TEST_F(TraceProcess, ForkedChildrenTrace) {
  if (os::testing::RunForked([] { return 0; }) == os::testing::kForkUnknown)
    GTEST_SKIP() << "processes do not fork on this target";
  const ChildResult result = RunSelf("fork", {}, {{"LUMORA_TRACE", directory_.File("trace.log")}});
  EXPECT_EQ(0, result.exitCode) << result.err;
  EXPECT_GE(WholeRecords({"parent", "child"}), 20);
  EXPECT_EQ(20, WholeRecords({"child"}, {"parent"}));
}

}  // namespace
