#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::RunSelf;

const lmktest::ChildRole kEcho("echo", [](const std::vector<std::string>& args) {
  for (const std::string& arg : args) std::printf("[%s]\n", arg.c_str());
  const char* variable = std::getenv("LMK_TESTING_VALUE");
  std::fprintf(stderr, "%s\n", variable != nullptr ? variable : "(unset)");
  return 7;
});
const lmktest::ChildRole kFlood("flood", [](const std::vector<std::string>&) {
  const std::string line(1000, 'x');
  for (int i = 0; i < 1000; ++i) {
    std::puts(line.c_str());
    std::fputs(line.c_str(), stderr);
  }
  return 0;
});
const lmktest::ChildRole kSleep("sleep", [](const std::vector<std::string>&) {
  std::puts("asleep");
  std::fflush(stdout);
  std::this_thread::sleep_for(std::chrono::seconds(50));
  return 0;
});
const lmktest::ChildRole kAbort("abort", [](const std::vector<std::string>&) -> int { std::abort(); });

TEST(ChildProcess, ArgumentsEnvironmentStreamsAndResultCross) {
  const auto result = RunSelf("echo", {"a b", "", "c\\\"d\\", "\"", "\\\\"}, {{"LMK_TESTING_VALUE", "v=1"}});
  EXPECT_EQ(7, result.exitCode);
  EXPECT_FALSE(result.crashed);
  EXPECT_EQ("[a b]\n[]\n[c\\\"d\\]\n[\"]\n[\\\\]\n", result.out);
  EXPECT_EQ("v=1\n", result.err);
  EXPECT_EQ("(unset)\n", RunSelf("echo", {}, {{"LMK_TESTING_VALUE", ""}}).err);
}

TEST(ChildProcess, MoreThanAPipeHoldsOnBothStreams) {
  const auto result = RunSelf("flood");
  EXPECT_EQ(1001000U, result.out.size());
  EXPECT_EQ(1000000U, result.err.size());
}

TEST(ChildProcess, LimitAndCrashAreTold) {
  const auto slow = RunSelf("sleep", {}, {}, std::chrono::seconds(2));
  EXPECT_TRUE(slow.timedOut);
  EXPECT_EQ("asleep\n", slow.out);
  EXPECT_TRUE(RunSelf("abort").crashed);
  EXPECT_EQ(99, RunSelf("no such role").exitCode);
  EXPECT_THROW(lmktest::RunChild({"/no/such/program"}), std::runtime_error);
}

TEST(TempDir, HoldsFilesOfAnyNameAndGoesWithThem) {
  std::string path;
  {
    const lmktest::TempDir first("Prüfung 日本");
    const lmktest::TempDir second("Prüfung 日本");
    EXPECT_NE(first.Path(), second.Path());
    path = first.Write("ä.txt", "a\r\n\0b");
    EXPECT_EQ("a\r\n", first.Read("ä.txt"));
    EXPECT_EQ("", second.Read("ä.txt"));
  }
  EXPECT_EQ("", lmktest::ReadWholeFile(path));
  const std::u8string name(path.begin(), path.end());
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(name).parent_path()));
}

}  // namespace
