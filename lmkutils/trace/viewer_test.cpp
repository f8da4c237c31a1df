// The viewer's window is one for the whole session: while it stands, every process that traces finds it.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <gmock/gmock.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/testing/viewer_window.h"
#include "lmkutils/os/viewer_window.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/trace/lm_trace_controller.h"
#include "lmkutils/trace/lm_tracer.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunSelf;

constexpr char kViewer[] = "lmtracer";

const lmktest::ChildRole kViewerRole("viewer", [](const std::vector<std::string>&) {
  const auto print = [](std::string_view data, unsigned long long number) {
    const std::string text(data);
    std::printf("[%d|%s|%llu]\n", static_cast<int>(data.size() - text.find('\0')), text.c_str(), number);
    return text.find("the last") == text.npos;
  };
  return os::testing::RunViewer(kViewer, kViewer, print) ? 0 : 1;
});

// Ends when the file named by its argument exists.
const lmktest::ChildRole kHungRole("hung_viewer", [](const std::vector<std::string>& args) {
  return os::testing::RunHungViewer(kViewer, kViewer, [&args] { return std::filesystem::exists(args[0]); })
             ? 0
             : 1;
});

// Traces without asking for anything: only the viewer can switch tracing on.
const lmktest::ChildRole kTraceRole("trace_to_viewer", [](const std::vector<std::string>&) {
  const dp::LMTracer tracer("k", "s");
  tracer("the first\nrecord");
  tracer(dp::TraceType::Warning, "the last");
  std::printf("%d consumers, %d dropped\n",
              static_cast<int>(dp::LMTraceController::Instance().GetConsumerCount()),
              static_cast<int>(dp::TraceController::GetDroppedCount()));
  return 0;
});

void WaitForWindow() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (os::FindViewerWindow(kViewer, kViewer) == nullptr && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

class ViewerTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!os::GetCapabilities().traceViewerKnown) GTEST_SKIP() << "this target has no trace viewer";
  }
};

TEST_F(ViewerTest, GetsEveryRecordOfAProcessThatFindsIt) {
  ChildResult viewer;
  std::thread running([&viewer] { viewer = RunSelf("viewer"); });
  WaitForWindow();
  const ChildResult traced = RunSelf("trace_to_viewer");
  running.join();
  EXPECT_EQ("1 consumers, 0 dropped\n", traced.out);
  EXPECT_EQ(0, viewer.exitCode) << viewer.err;
  EXPECT_THAT(viewer.out, testing::MatchesRegex("\\[1.Info    .* TraceConsumer Trace Version: .*\n.0.\n"
                                                "\\[1.Info    .* k s the first record\n.0.\n"
                                                "\\[1.Warning .* k s the last\n.0.\n"));
}

TEST_F(ViewerTest, WhenItHangsRecordsAreLostAndNothingElse) {
  const lmktest::TempDir directory;
  ChildResult viewer;
  std::thread running([&] { viewer = RunSelf("hung_viewer", {directory.File("done")}); });
  WaitForWindow();
  const ChildResult traced = RunSelf("trace_to_viewer");
  EXPECT_NE(nullptr, os::FindViewerWindow(kViewer, kViewer)) << "it was there all the time";
  directory.Write("done", "");
  running.join();
  EXPECT_EQ(0, traced.exitCode);
  EXPECT_EQ("1 consumers, 0 dropped\n", traced.out);
}

}  // namespace
