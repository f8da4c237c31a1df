#include "lmkutils/platform/environment.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/testing/fork.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/time/time.h"
#include "lmkutils/time/time_val.h"

namespace dp {
namespace {

constexpr const char* kGetName = "dp::Environment::Get() expects name to be non-empty.";
constexpr const char* kPutName = "dp::Environment::Put() expects name to be non-empty.";
constexpr const char* kPutFailed = "dp::Environment::Put() failed to putenv().";

template <class Exception, class F>
void ExpectThrow(const char* text, F call) {
  try {
    call();
    ADD_FAILURE() << "nothing thrown, expected " << text;
  } catch (const Exception& error) {
    EXPECT_STREQ(error.what(), text);
    EXPECT_EQ(typeid(error), typeid(Exception));
  }
}

TEST(Environment, KeepsValues) {
  const std::string long32K(32'000, 'v');
  for (const std::string& value : {std::string("plain"), std::string(" a=b;c \"d\" %PATH% "),
                                   std::string("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"),
                                   std::string("\xEF\xBB\xBFmark \xEF\xBF\xBD"), long32K}) {
    Environment::Put("LMK_TEST_VALUE", value.c_str());
    EXPECT_EQ(Environment::Get("LMK_TEST_VALUE"), value);
    EXPECT_EQ(Environment::Get(std::string("LMK_TEST_VALUE")), value);
    EXPECT_TRUE(Environment::Test("LMK_TEST_VALUE"));
    const std::wstring wide = Environment::Get(std::wstring(L"LMK_TEST_VALUE"));
    Environment::Put(L"LMK_TEST_OTHER", wide);
    EXPECT_EQ(Environment::Get("LMK_TEST_OTHER"), value);
  }
  Environment::Put(std::wstring(L"LMK_TEST_VALUE"), L"w\u20AC");
  EXPECT_EQ(Environment::Get("LMK_TEST_VALUE"), "w\xE2\x82\xAC");
  Environment::Put(std::string("LMK_TEST_VALUE"), std::string());
  Environment::Put("LMK_TEST_OTHER", nullptr);
  EXPECT_EQ(Environment::Get("LMK_TEST_VALUE"), "");
  EXPECT_EQ(Environment::Get(L"LMK_TEST_OTHER"), L"");
  EXPECT_FALSE(Environment::Test("LMK_TEST_VALUE"));
  Environment::Put("LMK_TEST_VALUE", "");  // not set any more: nothing to do, no failure
}

TEST(Environment, KeepsNames) {
  const char* const name = "LMK_\xC3\x84\xF0\x9F\x98\x80 x";
  Environment::Put(name, "1");
  EXPECT_EQ(Environment::Get(name), "1");
  EXPECT_EQ(Environment::Get(std::wstring(L"LMK_\u00C4\U0001F600 x")), L"1");
  Environment::Put(std::wstring(L"LMK_\u00C4\U0001F600 x"), L"");
  EXPECT_EQ(Environment::Get(name), "");
}

TEST(Environment, RefusesEmptyNames) {
  ExpectThrow<std::invalid_argument>(kGetName, [] { static_cast<void>(Environment::Get("")); });
  ExpectThrow<std::invalid_argument>(kGetName, [] { static_cast<void>(Environment::Get(nullptr)); });
  ExpectThrow<std::invalid_argument>(kGetName, [] { static_cast<void>(Environment::Get(std::string())); });
  ExpectThrow<std::invalid_argument>(kGetName, [] { static_cast<void>(Environment::Get(std::wstring())); });
  ExpectThrow<std::invalid_argument>(kPutName, [] { Environment::Put("", "x"); });
  ExpectThrow<std::invalid_argument>(kPutName, [] { Environment::Put(nullptr, "x"); });
  ExpectThrow<std::invalid_argument>(kPutName, [] { Environment::Put(nullptr, "\xFF"); });
  ExpectThrow<std::invalid_argument>(kPutName, [] { Environment::Put(std::string(), std::string("x")); });
  ExpectThrow<std::invalid_argument>(kPutName, [] { Environment::Put(std::wstring(), std::wstring(L"x")); });
  EXPECT_FALSE(Environment::Test(""));
  EXPECT_FALSE(Environment::Test(nullptr));
}

TEST(Environment, RefusesWhatTheSystemCannotHold) {
  Environment::Put("LMK_TEST_BAD", "before");
  const auto refused = [](const char* name, const char* value) {
    ExpectThrow<std::runtime_error>(kPutFailed, [=] { Environment::Put(name, value); });
  };
  refused("LMK_TEST_BAD=", "x");
  refused("LMK_TEST=BAD", "x");
  refused("LMK_TEST=BAD", "");
  for (const char* bad : {"\xFF", "\xC0\xAF", "\xED\xA0\x80", "\xE2\x82", "\xF4\x90\x80\x80", "a\x80"}) {
    refused("LMK_TEST_BAD", bad);
    refused(bad, "x");
    EXPECT_EQ(Environment::Get(bad), "");
    EXPECT_FALSE(Environment::Test(bad));
  }
  ExpectThrow<std::runtime_error>(kPutFailed,
                                  [] { Environment::Put(std::wstring(L"A=B"), std::wstring(L"x")); });
  // A wide name that is no text is not set, whichever way the target holds it.
  EXPECT_EQ(Environment::Get(std::wstring(L"LMK_\xD800")), L"");
  EXPECT_EQ(Environment::Get("LMK_TEST_BAD"), "before");
  Environment::Put("LMK_TEST_BAD", "");
}

TEST(Environment, EndsTextsAtTheirNul) {
  Environment::Put(std::string("LMK_TEST_NUL\0x", 14), std::string("a\0b", 3));
  EXPECT_EQ(Environment::Get("LMK_TEST_NUL"), "a");
  EXPECT_EQ(Environment::Get(std::wstring(L"LMK_TEST_NUL\0y", 14)), L"a");
  Environment::Put("LMK_TEST_NUL", "");
}

TEST(Environment, HasNothingToAssign) {
  Environment one, other;
  one = other;
  one = std::move(other);
  static_assert(std::is_nothrow_move_assignable_v<Environment>);
}

// What the parent set: shows that the environment of the process is meant, and one that no Put can make.
const lmktest::ChildRole kInherits("environment_inherits", [](const std::vector<std::string>&) {
  if (Environment::Get("LMK_TEST_CHILD") != "\xC3\xA4\xF0\x9F\x98\x80") return 1;
  if (Environment::Get(std::wstring(L"LMK_TEST_CHILD")) != L"\u00E4\U0001F600") return 2;
  Environment::Put("LMK_TEST_CHILD", "changed");
  const char* seen = std::getenv("LMK_TEST_CHILD");
  return seen != nullptr && std::string(seen) == "changed" ? 0 : 3;
});

TEST(Environment, IsThatOfTheProcess) {
  const lmktest::ChildResult result =
      lmktest::RunSelf("environment_inherits", {}, {{"LMK_TEST_CHILD", "\xC3\xA4\xF0\x9F\x98\x80"}});
  EXPECT_EQ(result.exitCode, 0);
}

TEST(Environment, ReadsBytesThatAreNoText) {
  if (os::GetCapabilities().environmentIsWide) GTEST_SKIP() << "no bytes in this target's environment";
  const lmktest::ChildResult result =
      lmktest::RunSelf("environment_bytes", {}, {{"LMK_TEST_BYTES", "a\xFF\xC3z"}});
  EXPECT_EQ(result.exitCode, 0);
}

const lmktest::ChildRole kBytes("environment_bytes", [](const std::vector<std::string>&) {
  if (Environment::Get("LMK_TEST_BYTES") != "a\xFF\xC3z") return 1;
  return Environment::Get(std::wstring(L"LMK_TEST_BYTES")) == L"a\uFFFD\uFFFDz" ? 0 : 2;
});

// Values of many lengths come and go while others read them, add variables, and convert local time.
TEST(Environment, SurvivesChangesByOtherThreads) {
  constexpr int kRounds = 400;  // of each reader; the writers go on for as long as there is one
  std::atomic<int> readers{2};
  std::atomic<int> wrong{0};
  const auto isWhole = [](const auto& value) {
    return value.empty() || (value.size() % 97 == 1 && value.find_first_not_of(value[0]) == value.npos);
  };
  std::vector<std::thread> threads;
  for (int n = 0; n < 2; ++n) {
    threads.emplace_back([&, n] {
      for (std::size_t i = 0; readers != 0; ++i) {
        const std::string value(i % 7 == 0 ? 0 : i * 5 % 8 * 97 + 1, n == 0 ? 'a' : 'b');
        Environment::Put("LMK_TEST_SHARED", value.c_str());
        Environment::Put(("LMK_TEST_" + std::to_string(n) + "_" + std::to_string(i % 20)).c_str(),
                         value.c_str());
      }
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) {
      if (!isWhole(Environment::Get("LMK_TEST_SHARED"))) ++wrong;
      if (!isWhole(Environment::Get(std::wstring(L"LMK_TEST_SHARED")))) ++wrong;
      static_cast<void>(Environment::Test("LMK_TEST_SHARED"));
    }
    --readers;
  });
  threads.emplace_back([&] {
    for (std::int64_t i = 0; i < kRounds; ++i) {
      if (du::LocalTimeVal(i * 900'000'000).GetString().empty()) ++wrong;
      if (du::Time(i * 900'000).ToLocalTimeString("%H %Z").empty()) ++wrong;
    }
    --readers;
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  for (int i = 0; i < 40; ++i) {
    Environment::Put(("LMK_TEST_" + std::to_string(i / 20) + "_" + std::to_string(i % 20)).c_str(), "");
  }
}

// Forks while other threads are inside the environment and the conversions to local time.
const lmktest::ChildRole kFork("environment_fork", [](const std::vector<std::string>&) {
  Environment::Put("LMK_TEST_SHARED", "");  // forks are safe from the first use on
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int n = 0; n < 2; ++n) {
    threads.emplace_back([&stop] {
      for (std::int64_t i = 0; !stop; ++i) {
        Environment::Put("LMK_TEST_SHARED", std::to_string(i).c_str());
        if (du::Time(i * 900'000).GetYearDay() < 0) return;
      }
    });
  }
  int failed = 0;
  for (int i = 0; i < 50; ++i) {
    failed += os::testing::RunForked([] {
                Environment::Put("LMK_TEST_SHARED", "child");
                return du::Time(0).ToLocalTimeString("%Y").empty() ? 1 : 0;
              }) != 0;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  return failed;
});

TEST(Environment, IsUsableInForkedProcesses) {
  if (os::testing::RunForked([] { return 0; }) == os::testing::kForkUnknown)
    GTEST_SKIP() << "processes do not fork on this target";
  const lmktest::ChildResult result = lmktest::RunSelf("environment_fork", {});
  EXPECT_EQ(result.exitCode, 0) << (result.timedOut ? "hangs" : result.err);
}

}  // namespace
}  // namespace dp
