// A static task pool, through the shared library itself: the order of the ends is another one where
// everything is linked into one program.
#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/platform/task_pool.h"
#include "lmkutils/platform/testing/pool_tasks.h"
#include "lmkutils/platform/thread.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/trace/lm_trace_controller.h"

namespace {

using lmktest::Handle;
using lmktest::Work;

// A static pool, older than all else of the library, meets the end of the process with its queue full.
const lmktest::ChildRole kStatic("static_pool", [](const std::vector<std::string>&) {
  struct Report {
    std::atomic<int> runs{0};
    ~Report() { std::printf("%d tasks", runs.load()); }
  };
  struct Named : Work {
    using Work::Work;
    du::Symbol GetName() override { return "convert"; }
  };
  static Report report;
  static du::TaskPool pool(2);
  dp::LMTraceController::Instance().Initialize();
  const Handle task = new Named([] {
    ++report.runs;
    dp::Thread::Yield();
  });
  for (int i = 0; i < 1000; ++i) pool.InsertTask(task);
  return 0;
});

TEST(TaskPool, MayBeStatic) {
  const lmktest::TempDir directory;
  const auto result = lmktest::RunSelf("static_pool", {}, {{"LUMORA_TRACE", directory.File("trace.log")}});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "1000 tasks");
}

}  // namespace
