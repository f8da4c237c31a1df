#include <gmock/gmock.h>

#include "lmkutils/testing/child_process.h"

int main(int argc, char** argv) {
  if (const std::optional<int> result = lmktest::RunChildRole(argc, argv)) return *result;
  testing::InitGoogleMock(&argc, argv);
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  return RUN_ALL_TESTS();
}
