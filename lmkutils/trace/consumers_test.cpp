#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"
#include "lmkutils/time/time_val.h"
#include "lmkutils/trace/file_consumer.h"
#include "lmkutils/trace/lm_tracer.h"
#include "lmkutils/trace/stream_consumer.h"
#include "lmkutils/trace/window_consumer.h"

namespace {

using dp::Environment;
using dp::FileConsumer;
using dp::StreamConsumer;
using dp::TraceFormatter;
using dp::TraceType;
using os::fault::Arming;
using os::fault::Call;
using testing::HasSubstr;
using testing::StartsWith;

// Sets variables for a scope.
class Variables {
 public:
  Variables(std::initializer_list<std::pair<const char*, const char*>> variables) : variables_(variables) {
    for (const auto& [name, value] : variables_) Environment::Put(name, value);
  }
  ~Variables() {
    for (const auto& [name, value] : variables_) Environment::Put(name, "");
  }
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;

 private:
  std::vector<std::pair<const char*, const char*>> variables_;
};

TraceFormatter Record(const std::string& text, TraceType type = TraceType::Info) {
  TraceFormatter record(0, type, 1, 2, "k", "s");
  record.DontBroadCast();
  record << text;
  return record;
}

std::string PlainLine(const std::string& text) {
  return "Info    " + du::LocalTimeVal(0).GetString() + " 1 2 k s " + text + "\n";
}

TEST(StreamConsumer, FormIsTakenFromTheEnvironment) {
  const auto written = [](const char* format) {
    const Variables variables{{"LUMORA_TRACE_FORMAT", format}, {"TRACKING_ID", "id"}};
    std::ostringstream stream;
    StreamConsumer consumer(stream);
    const TraceFormatter record = Record("text");
    consumer.Install();
    EXPECT_TRUE(consumer.ConsumeMessage(&record));
    const TraceFormatter inert;
    EXPECT_TRUE(consumer.ConsumeMessage(&inert));
    consumer.Release();
    return stream.str();
  };
  EXPECT_EQ(PlainLine("text"), written(""));
  EXPECT_EQ(PlainLine("text"), written("JSON"));
  EXPECT_THAT(written("json"),
              StartsWith(R"({"level" :"info", "trackingId" :"id", "subkey" :"s", "source" :"k")"));
  EXPECT_THAT(written("xml"), StartsWith("<lmtrace:mesg type = \"Info\""));
}

TEST(StreamConsumer, LevelsFilterJsonOnly) {
  const struct {
    const char* levels;
    std::string expected;
  } cases[] = {{"", "IDWE"},
               {"info", "I"},
               {"warn,error", "WE"},
               {" debug ,\twarn", "DW"},
               {"Info", ""},
               {"information", ""},
               {",", ""},
               {" ", ""},
               {"info,,nothing", "I"},
               {"err,inf", ""}};
  for (const auto& c : cases) {
    const Variables variables{{"LUMORA_TRACE_FORMAT", "json"}, {"LUMORA_TRACE_LEVEL", c.levels}};
    std::string passed;
    std::ostringstream stream;
    StreamConsumer consumer(stream);
    for (int type = 0; type < 4; ++type) {
      const TraceFormatter record = Record("text", static_cast<TraceType>(type));
      EXPECT_TRUE(consumer.ConsumeMessage(&record)) << "a filtered record is consumed";
      if (!stream.str().empty()) passed += "IDWE"[type];
      stream.str("");
    }
    EXPECT_EQ(c.expected, passed) << c.levels;
  }
  const Variables variables{{"LUMORA_TRACE_LEVEL", "error"}};
  std::ostringstream stream;
  const TraceFormatter record = Record("text");
  StreamConsumer(stream).ConsumeMessage(&record);
  EXPECT_EQ(PlainLine("text"), stream.str());
}

class FileConsumerTest : public testing::Test {
 protected:
  // The file's bytes after these texts.
  std::string Written(const std::string& name, const std::vector<std::string>& texts) {
    FileConsumer consumer(directory_.File(name));
    consumer.Install();
    for (const std::string& text : texts) {
      const TraceFormatter record = Record(text);
      EXPECT_TRUE(consumer.ConsumeMessage(&record));
    }
    consumer.Release();
    const TraceFormatter late = Record("late");
    EXPECT_FALSE(consumer.ConsumeMessage(&late));
    return directory_.Read(name);
  }

  const lmktest::TempDir directory_{"Spur ä"};
};

TEST_F(FileConsumerTest, FormFollowsPathAndEnvironment) {
  directory_.Write("old.log", std::string(10000, 'x'));
  EXPECT_EQ(PlainLine("one") + PlainLine("two"), Written("old.log", {"one", "two"}));
  EXPECT_EQ(PlainLine("text"), Written("upper.XML", {"text"}));
  const Variables variables{{"LUMORA_TRACE_FORMAT", "json"}};
  EXPECT_THAT(Written("a.log", {"{\"a\": \"1\"}"}), HasSubstr("\"message\" :{\"a\": \"1\"}}\n"));
}

TEST_F(FileConsumerTest, XmlNeedsTheStyleSheet) {
  const std::string sheet = dp::LmInfo::Instance().GetTraceStyleSheet();
  const std::string text = Written("trace.xml", {"a < b"});
  if (lmktest::ReadWholeFile(sheet).empty()) {
    EXPECT_EQ("Error: Lmtrace XSL file not available. Trace will be plain text.\n" + PlainLine("a < b"),
              text);
  } else {
    EXPECT_THAT(text, StartsWith("<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" href=\""));
    EXPECT_THAT(
        text,
        HasSubstr("\"?>\n<lmtrace:log xmlns:lmtrace=\"urn::uuid::a4a83aae-be5c-4b2b-9f60-5e937dee9534\">\n"
                  "<lmtrace:mesg type = \"Info\""));
    EXPECT_THAT(text, testing::EndsWith("a &lt; b</lmtrace:mesg>\n</lmtrace:log>"));
  }
}

TEST_F(FileConsumerTest, OthersReadWholeRecordsAtOnce) {
  FileConsumer consumer(directory_.File("trace.log"));
  const Arming counting(Call::kFileWrite, {.first = 1000});
  const std::string big(10 << 20, 'x');
  for (const std::string& text : {std::string("one"), big, std::string("two")}) {
    const TraceFormatter record = Record(text);
    EXPECT_TRUE(consumer.ConsumeMessage(&record));
    EXPECT_TRUE(directory_.Read("trace.log").ends_with(PlainLine(text)));
  }
  EXPECT_EQ(3U, os::fault::CountOf(Call::kFileWrite)) << "one record, one write";
}

TEST_F(FileConsumerTest, AShortWriteIsCompleted) {
  FileConsumer consumer(directory_.File("trace.log"));
  const TraceFormatter record = Record("text");
  {
    const Arming shortWrites(Call::kFileWrite, {.count = 2, .error = os::kSuccess, .cutTo = 5});
    EXPECT_TRUE(consumer.ConsumeMessage(&record));
    EXPECT_EQ(3U, os::fault::CountOf(Call::kFileWrite));
  }
  EXPECT_EQ(PlainLine("text"), directory_.Read("trace.log"));
}

TEST_F(FileConsumerTest, FailuresGoToTheOlderConsumerForGood) {
  const os::SystemError kErrors[] = {os::kErrorDiskFull, os::kErrorIoDevice,
                                     os::kSuccess /* nothing taken */};
  for (const os::SystemError error : kErrors) {
    lmktest::TraceRecorder older;
    auto owned = std::make_unique<FileConsumer>(directory_.File("full.log"));
    FileConsumer* const consumer = owned.get();
    dp::TraceController::Instance().AddConsumer(std::move(owned));
    const dp::LMTracer tracer("k", "s");
    tracer("written");
    {
      const Arming full(Call::kFileWrite, {.error = error});
      tracer("refused");
    }
    tracer("after");
    EXPECT_THAT(older.TakeTexts(), testing::ElementsAre("refused", "after")) << error;
    EXPECT_THAT(directory_.Read("full.log"), HasSubstr("k s written\n"));
    dp::TraceController::Instance().RemoveConsumer(consumer);
  }
}

TEST_F(FileConsumerTest, WhatCannotBeOpenedRefusesSilently) {
  const auto refuses = [](const std::string& path) {
    FileConsumer consumer(path);
    consumer.Install();
    const TraceFormatter record = Record("text");
    const bool taken = consumer.ConsumeMessage(&record);
    consumer.Release();
    return !taken;
  };
  EXPECT_TRUE(refuses(directory_.File("missing/trace.log")));
  EXPECT_TRUE(refuses(directory_.Path()));
  EXPECT_TRUE(refuses(""));
  EXPECT_TRUE(refuses(directory_.File("trace") + std::string("\0.log", 5)));
  const Arming failing(Call::kFileOpen, {.error = os::kErrorTooManyOpenFiles});
  EXPECT_TRUE(refuses(directory_.File("trace.xml")));
}

TEST_F(FileConsumerTest, TellsItsName) {
  FileConsumer consumer(directory_.File("a.b.log"));
  testing::internal::CaptureStdout();
  consumer.PrintFileName();
  EXPECT_EQ("Trace file: a.b.log\n", testing::internal::GetCapturedStdout());
}

TEST(WindowConsumer, AMissingWindowLosesRecordsOnly) {
  dp::WindowConsumer consumer(nullptr);
  const TraceFormatter record = Record("text");
  EXPECT_TRUE(consumer.ConsumeMessage(&record));
}

}  // namespace
