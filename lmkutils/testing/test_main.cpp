#include <chrono>
#include <thread>

#include <gmock/gmock.h>

#include "lmkutils/testing/child_process.h"

namespace {

// On Windows the framework starts a thread with the first message of a test that is skipped or fails. Wine
// crashes now and again when it has to kill a thread that is still starting.
void LetThreadOfFrameworkStart() {
  const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
  if (tests.skipped_test_count() + tests.failed_test_count() > 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

}  // namespace

int main(int argc, char** argv) {
  if (const std::optional<int> result = lmktest::RunChildRole(argc, argv)) return *result;
  testing::InitGoogleMock(&argc, argv);
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const int result = RUN_ALL_TESTS();
  LetThreadOfFrameworkStart();
  return result;
}
