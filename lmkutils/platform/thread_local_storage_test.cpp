#include "lmkutils/platform/thread_local_storage.h"

#include <atomic>
#include <cerrno>
#include <set>

#include <gtest/gtest.h>

#include "lmkutils/os/thread_key.h"
#include "lmkutils/testing/threads.h"

namespace {

using dp::ThreadLocalStorage;

TEST(ThreadLocalStorage, KeepsAValuePerThreadAndKey) {
  const int first = ThreadLocalStorage::AllocKey();
  const int second = ThreadLocalStorage::AllocKey();
  ASSERT_NE(first, second);
  int here = 0;
  EXPECT_TRUE(ThreadLocalStorage::SetValue(first, &here));
  EXPECT_EQ(ThreadLocalStorage::GetValue(second), nullptr);
  lmktest::OnOtherThread([&] {
    EXPECT_EQ(ThreadLocalStorage::GetValue(first), nullptr);
    int there = 0;
    EXPECT_TRUE(ThreadLocalStorage::SetValue(first, &there));
    EXPECT_EQ(ThreadLocalStorage::GetValue(first), &there);
  });
  EXPECT_EQ(ThreadLocalStorage::GetValue(first), &here);
  EXPECT_TRUE(ThreadLocalStorage::FreeKey(first));
  EXPECT_TRUE(ThreadLocalStorage::FreeKey(second));
}

TEST(ThreadLocalStorage, RefusesWhatIsNotAKey) {
  int value = 0;
  for (const int key : {-1, 1 << 20}) {
    EXPECT_FALSE(ThreadLocalStorage::SetValue(key, &value)) << key;
    EXPECT_EQ(ThreadLocalStorage::GetValue(key), nullptr) << key;
    EXPECT_FALSE(ThreadLocalStorage::FreeKey(key)) << key;
  }
  const int freed = ThreadLocalStorage::AllocKey();
  EXPECT_TRUE(ThreadLocalStorage::FreeKey(freed));
  EXPECT_FALSE(ThreadLocalStorage::FreeKey(freed));
}

TEST(ThreadLocalStorage, RunsOutOfKeysAndGetsThemBack) {
  std::set<int> keys;
  for (int key; (key = ThreadLocalStorage::AllocKey()) != -1;) ASSERT_TRUE(keys.insert(key).second);
  EXPECT_GT(keys.size(), 100U);
  for (const int key : keys) EXPECT_TRUE(ThreadLocalStorage::FreeKey(key));
  const int again = ThreadLocalStorage::AllocKey();
  EXPECT_NE(again, -1);
  EXPECT_EQ(ThreadLocalStorage::GetValue(again), nullptr);
  ThreadLocalStorage::FreeKey(again);
}

TEST(ThreadLocalStorage, LeavesErrnoAlone) {
  const int key = ThreadLocalStorage::AllocKey();
  errno = ERANGE;
  static_cast<void>(ThreadLocalStorage::GetValue(key));
  ThreadLocalStorage::SetValue(key, &errno);
  EXPECT_EQ(errno, ERANGE);
  ThreadLocalStorage::FreeKey(key);
}

std::atomic<int> exits{0};
void CountExit(void* value) {
  exits += *static_cast<int*>(value);
}

TEST(ThreadExitKey, CallsBackAtTheEndOfThreadsWithAValue) {
  const int key = os::ThreadExitKeyCreate(CountExit);
  ASSERT_NE(key, os::kNoThreadKey);
  exits = 0;
  int seven = 7;
  lmktest::OnThreads(3, [&](int number) {
    EXPECT_EQ(os::ThreadExitKeyGet(key), nullptr);
    if (number == 0) return;
    EXPECT_TRUE(os::ThreadExitKeySet(key, &seven));
    EXPECT_EQ(os::ThreadExitKeyGet(key), &seven);
  });
  EXPECT_EQ(exits, 14);
  EXPECT_TRUE(os::ThreadExitKeyDelete(key));
  EXPECT_FALSE(os::ThreadExitKeySet(key, &seven));
}

}  // namespace
