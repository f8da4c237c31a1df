#include "lmkutils/trace/trace_formatter.h"

#include <cerrno>
#include <climits>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/process.h"
#include "lmkutils/platform/thread.h"
#include "lmkutils/testing/trace_recorder.h"
#include "lmkutils/time/clock.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_null_tracer.h"
#include "lmkutils/trace/lm_tracer.h"

namespace {

using dp::LMTracer;
using dp::TraceController;
using dp::TraceFormatter;
using dp::TraceType;
using testing::ElementsAre;
using testing::IsEmpty;

struct Touchy {
  friend std::ostream& operator<<(std::ostream&, const Touchy&) { throw std::runtime_error("touched"); }
};

struct Point {
  int x;
  int y;
  friend std::ostream& operator<<(std::ostream& stream, const Point& p) {
    return stream << p.x << '/' << p.y;
  }
};

TEST(TraceFormatter, NamesAndLevels) {
  const struct {
    int value;
    const char* name;  // null: refused
    const char* level;
  } cases[] = {{0, "Info", "info"},  {1, "Debug", "debug"}, {2, "Warning", "warn"}, {3, "Error", "error"},
               {4, nullptr, "info"}, {-1, nullptr, "info"}, {-2, nullptr, "info"}};
  for (const auto& c : cases) {
    const auto type = static_cast<TraceType>(c.value);
    EXPECT_STREQ(c.level, TraceFormatter(0, type, 0, 0, "k", "s").GetLevel()) << c.value;
    std::ostringstream stream;
    if (c.name != nullptr) {
      stream << type;
      EXPECT_EQ(c.name, stream.str());
      continue;
    }
    try {
      stream << type;
      ADD_FAILURE() << c.value;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ("Unexpected TraceType in operator <<", error.what());
    }
  }
}

TEST(TraceFormatter, InsertsWhatAStreamTakes) {
  lmktest::TraceRecorder recorder;
  const LMTracer tracer("du", "Symbol");
  const std::string text = "text";
  const char* const null = nullptr;
  char buffer[] = "buf";
  tracer(TraceType::Info) << text << ' ' << std::string_view("view") << buffer << null << 1 << -2L << 3ULL
                          << true << 1.5 << Point{3, 4} << "after" << 5;
  tracer(TraceType::Error) << std::hex << 255 << std::setw(6) << std::setfill('.') << "ab" << std::endl
                           << 16U;
  tracer(TraceType::Info) << std::hex << -1 << ' ' << short{-2} << ' ' << 255UL;
  tracer(TraceType::Info) << "";
  static_cast<std::ostream&>(*std::make_unique<TraceFormatter>(tracer(TraceType::Info))) << "as a stream";
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre("text viewbuf(null)1-2311.53/4after5", "ff....ab\n10",
                                                "ffffffff fffe ff", "", "as a stream"));
}

TEST(TraceFormatter, NumbersAreClassicAndFailedInsertionsEndThere) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    char do_decimal_point() const override { return ','; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  lmktest::TraceRecorder recorder;
  const LMTracer tracer("du", "Symbol");
  tracer(TraceType::Info) << 1234567 << ' ' << 1234.5 << ' ' << 1234567;
  tracer(TraceType::Info) << "before " << Touchy() << "after";
  std::locale::global(before);
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre("1234567 1234.5 1234567", "before after"));
}

TEST(TraceFormatter, EachCopyIsDeliveredUnlessToldNotTo) {
  lmktest::TraceRecorder recorder;
  {
    TraceFormatter record(5, TraceType::Warning, 1, 2, "k", "s");
    record << "one";
    TraceFormatter copy(record);
    copy << " two";
    TraceFormatter silent = copy;
    silent.DontBroadCast();
    TraceFormatter overwritten(6, TraceType::Error, 3, 4, "x", "y");
    overwritten << "lost";
    overwritten = copy;
    overwritten << " three";
    TraceFormatter empty(5, TraceType::Warning, 1, 2, "k", "s");
    TraceFormatter inert(5, static_cast<TraceType>(-1), 1, 2, "k", "s");
    inert << "never " << Touchy() << std::endl;
    EXPECT_EQ("", inert.GetMesg());
    EXPECT_FALSE(inert.FormatJson({"a", "1"}));
    TraceFormatter wasLive(record);
    wasLive = inert;
  }
  const auto records = recorder.Take();
  ASSERT_EQ(3U, records.size());
  EXPECT_EQ("one two three", records[0].text);
  EXPECT_EQ("one two", records[1].text);
  EXPECT_EQ("one", records[2].text);
  for (const auto& record : records) {
    EXPECT_EQ(TraceType::Warning, record.type);
    EXPECT_EQ(5, record.time);
    EXPECT_EQ(1, record.procId);
    EXPECT_EQ(2, record.threadId);
    EXPECT_EQ("k", record.key);
    EXPECT_EQ("s", record.subKey);
  }
}

TEST(LMTracer, EveryCallMakesOneStampedRecord) {
  lmktest::TraceRecorder recorder;
  const LMTracer tracer("du", "Symbol");
  const std::int64_t before = du::GetTime();
  tracer("%s %d", "text", 1);
  tracer(TraceType::Error, "%s %d", "text", 2);
  tracer(TraceType::Warning) << "text " << 3;
  tracer({"a", "1", "b", "2", "odd"});
  tracer(TraceType::Debug, {"a", "1"});
  tracer(nullptr);
  tracer(TraceType::Info);  // no text
  tracer(static_cast<TraceType>(-1), "inert");
  const auto records = recorder.Take();
  ASSERT_EQ(5U, records.size());
  const char* const texts[] = {"text 1", "text 2", "text 3", "a = 1, b = 2", "a = 1"};
  const TraceType types[] = {TraceType::Info, TraceType::Error, TraceType::Warning, TraceType::Info,
                             TraceType::Debug};
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(texts[i], records[i].text);
    EXPECT_EQ(types[i], records[i].type);
    EXPECT_EQ(static_cast<int>(dp::Process::GetCurrentProcId()), records[i].procId);
    EXPECT_EQ(static_cast<int>(dp::Thread::GetCurrentThreadId()), records[i].threadId);
    EXPECT_LE(before, records[i].time);
    EXPECT_GE(du::GetTime(), records[i].time);
    EXPECT_EQ("du", records[i].key);
    EXPECT_EQ("Symbol", records[i].subKey);
  }
}

// Wherever the text outgrows the record itself, and whichever conversions come before and behind: no argument
// is lost, taken twice or cut.
TEST(LMTracer, FormatsAsPrintfDoes) {
  lmktest::TraceRecorder recorder;
  const LMTracer tracer("du", "Symbol");
  for (std::size_t size = 190; size < 260; ++size) {
    const std::string text(size, 'x');
    tracer("%s%d|%u%s%5d%s %x%%%d", text.c_str(), INT_MIN, UINT_MAX, "s", 7, text.c_str(), 255U,
           size % 2 ? 3 : -3);
    tracer((text + "%d%s%i").c_str(), 1, "two", 3);
    const std::string odd = size % 2 ? "3" : "-3";
    EXPECT_THAT(recorder.TakeTexts(),
                ElementsAre(text + "-2147483648|4294967295s    7" + text + " ff%" + odd, text + "1two3"));
  }
  tracer("%s %s%", nullptr, "last");
  tracer("%d %y %d%", 1, 2);
  tracer("");
  EXPECT_THAT(recorder.TakeTexts(),
              ElementsAre("(null) last<unrecognised format string>",
                          "1 <unrecognised format string> 2<unrecognised format string>", ""));
}

TEST(LMTracer, StructuredRecordsAsJson) {
  lmktest::TraceRecorder recorder;
  const LMTracer tracer("du", "Symbol");
  dp::Environment::Put("LUMORA_TRACE_FORMAT", "json");
  tracer({"a", "1", "b", "2"});
  tracer({"a", "\"", "odd"});
  tracer(std::vector<std::string>());
  dp::Environment::Put("LUMORA_TRACE_FORMAT", "");
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre(R"({"a": "1", "b": "2"})", R"({"a": """})", "{}"));
}

TEST(LMTracer, OffMeansThatArgumentsAreNotRead) {
  if (TraceController::Instance().IsActive()) GTEST_SKIP() << "a trace viewer is running";
  const LMTracer tracer("du", "Symbol");
  const auto* const wild = reinterpret_cast<const char*>(std::uintptr_t{16});
  tracer("%s", wild);
  tracer(TraceType::Error, "%s %n", wild, wild);
  tracer(TraceType::Info) << Touchy() << wild;
  EXPECT_EQ(static_cast<TraceType>(-1), tracer(TraceType::Error).GetType());
  EXPECT_EQ(0, tracer(TraceType::Error).GetTime());
  EXPECT_EQ(nullptr, tracer(TraceType::Error).GetKey());
  dp::LMDebugTracer debug("du", "Symbol");
  debug("%s", wild);
  debug(~0U, "%s", wild);
  EXPECT_EQ(static_cast<TraceType>(-1), debug().GetType());
}

TEST(LMTracer, KeepsErrorNumbers) {
  lmktest::TraceRecorder recorder;
  errno = EDOM;
  LMTracer("du", "Symbol")("%ls %s", L"wide", "text");
  LMTracer("du", "Symbol")(TraceType::Info) << 1;
  EXPECT_EQ(EDOM, errno);
}

TEST(LMDebugTracer, WithoutMasksOnlyTheMasklessFormsTrace) {
  lmktest::TraceRecorder recorder;
  const dp::LMDebugTracer tracer("du", "NoMask");
  tracer(~0U, "no %d", 1);
  tracer(~0U) << "no";
  tracer("yes %d", 1);
  tracer() << "yes " << 2;
  const auto records = recorder.Take();
  ASSERT_EQ(2U, records.size());
  EXPECT_EQ("yes 1", records[0].text);
  EXPECT_EQ("yes 2", records[1].text);
  EXPECT_EQ(TraceType::Debug, records[0].type);
}

TEST(LMNullTracer, TakesTheSameCalls) {
  lmktest::TraceRecorder recorder;
  const dp::LMNullTracer tracer = 1;
  tracer(1U, "%s", "x");
  tracer("%s", "x");
  tracer(TraceType::Info, "%s", "x");
  tracer({"a", "1"});
  tracer(TraceType::Info, {"a", "1"});
  tracer(1U) << "x" << 1 << Touchy() << std::endl << std::hex;
  tracer() << "x";
  EXPECT_THAT(recorder.Take(), IsEmpty());
}

}  // namespace
