#include "lmkutils/files/lock_file.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/file_system_lock.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::StartsWith;

class LockFileTest : public testing::Test {
 protected:
  const lmktest::TempDir dir_{
      "lmk-l\xC3\xB6"
      "cks"};
  const std::string path_ = dir_.File("lock");
  const Symbol name_{path_};
};

TEST_F(LockFileTest, OneAtATime) {
  LockFile one(name_, 1, 0);
  LockFile other(name_, 100000, 60000);  // contention is not waited for
  EXPECT_FALSE(one);
  EXPECT_EQ(one.GetFileName(), name_);
  EXPECT_TRUE(one.Lock(true));
  EXPECT_TRUE(one);
  EXPECT_TRUE(one.Lock(false)) << "held already";
  lmktest::TraceRecorder recorder;
  EXPECT_FALSE(other.Lock(false));
  EXPECT_FALSE(other.Lock(true));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kSharingViolation);
  const auto records = recorder.Take();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].key, "LockFile");
  EXPECT_EQ(records[0].text, "Could not obtain lock \"" + path_ +
                                 "\": " + os::RuntimeErrorText(os::kErrorSharingViolation) + ".");
  EXPECT_TRUE(one.Release());
  EXPECT_TRUE(one.Release());
  EXPECT_EQ(dir_.Read("lock"), "lock");
  EXPECT_TRUE(other.Lock(false));
  EXPECT_FALSE(one.Lock(true));
}

TEST_F(LockFileTest, BindAndCopyAndDestruction) {
  LockFile lock;
  EXPECT_FALSE(lock.Lock(true)) << "not bound";
  lock.Bind(name_, 1, 0);
  ASSERT_TRUE(lock.Lock(true));
  LockFile copy(lock);
  EXPECT_FALSE(copy);
  EXPECT_FALSE(copy.Lock(true)) << "the original has it";
  LockFile unbound;
  unbound = LockFile();
  EXPECT_FALSE(unbound.Lock(true));
  lock = lock;
  EXPECT_TRUE(lock);
  lock.Bind(Symbol(dir_.File("second")), 1, 0);
  EXPECT_FALSE(lock);
  EXPECT_TRUE(copy.Lock(true)) << "Bind released it";
  {
    LockFile scoped(Symbol(dir_.File("third")), 1, 0);
    ASSERT_TRUE(scoped.Lock(true));
  }
  EXPECT_TRUE(LockFile(Symbol(dir_.File("third")), 1, 0).Lock(true));
}

TEST_F(LockFileTest, ARangeThatCannotBeLockedIsNotTriedAgain) {
  const Arming fault(Call::kFileLock, {.count = os::fault::kForEver, .error = os::kErrorIoDevice});
  LockFile lock(name_, 3, 0);
  EXPECT_FALSE(lock.Lock(true));
  EXPECT_EQ(os::fault::CountOf(Call::kFileLock), 1U);
}

// A file that stays open would refuse every later attempt.
TEST_F(LockFileTest, EveryFailureClosesTheFile) {
  struct Row {
    Call call;
    os::fault::Plan plan;
  };
  const Row rows[] = {{Call::kFileOpen, {.count = os::fault::kForEver, .error = os::kErrorAccessDenied}},
                      {Call::kFileStatus, {.error = os::kErrorIoDevice}},
                      {Call::kFileStatus, {.first = 2, .error = os::kErrorIoDevice}},
                      {Call::kFileWrite, {.error = os::kErrorDiskFull}},
                      {Call::kFileLock, {.error = os::kErrorLockViolation}}};
  for (const Row& row : rows) {
    FileSystem::Unlink(path_.c_str(), true);
    LockFile lock(name_, 1, 0);
    {
      const Arming fault(row.call, row.plan);
      EXPECT_FALSE(lock.Lock(true));
    }
    EXPECT_TRUE(lock.Lock(true)) << static_cast<unsigned>(row.call);
  }
}

TEST_F(LockFileTest, AttemptsAreForOtherReasons) {
  lmktest::TraceRecorder recorder;
  struct Row {
    os::SystemError error;
    std::uint64_t opened;
  };
  constexpr Row kRows[] = {{os::kErrorAccessDenied, 3},
                           {os::kErrorSharingViolation, 1},
                           {os::kErrorLockViolation, 1},
                           {os::kErrorInvalidHandle, 1}};
  const std::uint64_t triesEach = os::GetCapabilities().longPathsHavePrefix ? 2 : 1;
  for (const Row& row : kRows) {
    const Arming fault(Call::kFileOpen, {.count = os::fault::kForEver, .error = row.error});
    EXPECT_FALSE(LockFile(name_, 3, 1).Lock(false));
    EXPECT_EQ(os::fault::CountOf(Call::kFileOpen), row.opened * triesEach) << row.error;
    EXPECT_EQ(recorder.Take().size(), 1U);
  }
  const Arming fault(Call::kFileOpen, {.count = 2, .error = os::kErrorAccessDenied});
  EXPECT_TRUE(LockFile(name_, 3, 1).Lock(false));
  EXPECT_FALSE(LockFile(name_, 0, 0).Lock(false)) << "no attempt";
  EXPECT_FALSE(LockFile(Symbol(dir_.File("missing/lock")), 2, 1).Lock(false));
  EXPECT_FALSE(LockFile(Symbol(dir_.Path()), 1, 0).Lock(false)) << "a directory";
}

TEST_F(LockFileTest, AFailedUnlockGivesTheLockBackAllTheSame) {
  LockFile lock(name_, 1, 0);
  ASSERT_TRUE(lock.Lock(true));
  lmktest::TraceRecorder recorder;
  {
    const Arming fault(Call::kFileUnlock, {.error = os::kErrorIoDevice});
    EXPECT_FALSE(lock.Release());
  }
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre(StartsWith("Could not release lock \"" + path_ + "\": ")));
  EXPECT_TRUE(LockFile(name_, 1, 0).Lock(true));
}

// Closing another handle of the file must not drop the lock, as it would drop one of the process.
TEST_F(LockFileTest, SurvivesAnotherHandleOfTheFile) {
  LockFile lock(name_, 1, 0);
  ASSERT_TRUE(lock.Lock(true));
  EXPECT_TRUE(FileSystem::FileReadable(path_.c_str())) << "reading is shared";
  EXPECT_FALSE(LockFile(name_, 1, 0).Lock(true));
  EXPECT_EQ(lmktest::RunSelf("try_lock_file", {}, {{"LMK_LOCK", path_}}).exitCode, 1);
  lock.Release();
  EXPECT_EQ(lmktest::RunSelf("try_lock_file", {}, {{"LMK_LOCK", path_}}).exitCode, 0);
}

LockFile LockOfParent() {
  return LockFile(Symbol(dp::Environment::Get("LMK_LOCK")), 1, 0);
}

const lmktest::ChildRole kTry("try_lock_file", [](const std::vector<std::string>&) {
  return LockOfParent().Lock(true) ? 0 : 1;
});

const lmktest::ChildRole kHold("hold_lock_file", [](const std::vector<std::string>&) {
  LockFile lock = LockOfParent();
  if (!lock.Lock(true)) return 1;
  os::SleepMilliseconds(3'600'000);
  return 0;
});

// The next one gets the lock of a process that was killed, and not before.
TEST_F(LockFileTest, AKilledHolderLosesTheLock) {
  // Killed after that time, which has to be enough for it to start and to lock.
  const std::chrono::seconds life(os::GetCapabilities().absolutePathsHaveDrive ? 10 : 3);
  lmktest::ChildResult holder;
  std::atomic<bool> ended{false};
  std::thread child([&] {
    holder = lmktest::RunSelf("hold_lock_file", {}, {{"LMK_LOCK", path_}}, life);
    ended = true;
  });
  while (dir_.Read("lock") != "lock" && !ended) os::SleepMilliseconds(5);
  EXPECT_FALSE(LockFile(name_, 1, 0).Lock(true));
  child.join();
  EXPECT_TRUE(holder.timedOut);
  EXPECT_TRUE(LockFile(name_, 1, 0).Lock(true));
}

class FileSystemLockTest : public testing::Test {
 protected:
  FileSystemLockTest() { EXPECT_TRUE(FileSystem::AddValidPath((dir_.Path() + "/").c_str())); }
  ~FileSystemLockTest() override { EXPECT_TRUE(FileSystem::RemoveValidPath(dir_.Path().c_str())); }

  const lmktest::TempDir dir_;
  const std::string path_ = dir_.File("the.lock");
};

TEST_F(FileSystemLockTest, OneAtATime) {
  FileSystemLock one(path_.c_str(), 0, 0);
  EXPECT_TRUE(one);
  EXPECT_TRUE(one.ObtainLock());
  lmktest::TraceRecorder recorder;
  FileSystemLock other(path_.c_str(), 2, 0);
  EXPECT_FALSE(other);
  const auto records = recorder.Take();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].key, "FileSystemLock");
  EXPECT_EQ(records[0].text, "Could not obtain lock \"" + path_ +
                                 "\": " + os::RuntimeErrorText(os::kErrorAlreadyExists) + ".");
  EXPECT_TRUE(other.ReleaseLock()) << "not held, and not ours: the directory stays";
  EXPECT_TRUE(FileSystem::DirExists(path_.c_str()));
  EXPECT_TRUE(one.ReleaseLock());
  EXPECT_TRUE(other.ObtainLock());
  {
    const FileSystemLockHolder holder(&other);
    const FileSystemLockHolder nothing(nullptr);
    EXPECT_TRUE(other);
  }
  EXPECT_FALSE(other);
  FileSystemLock unbound;
  EXPECT_FALSE(unbound.ObtainLock());
  EXPECT_FALSE(unbound.ReleaseLock());
}

TEST_F(FileSystemLockTest, RetriesAsOftenAsItWasTold) {
  const std::uint64_t triesEach = os::GetCapabilities().longPathsHavePrefix ? 2 : 1;
  const Arming fault(Call::kDirectoryMake, {.count = 3 * triesEach, .error = os::kErrorAccessDenied});
  FileSystemLock lock(path_.c_str(), 2, 0);
  EXPECT_FALSE(lock);
  EXPECT_EQ(os::fault::CountOf(Call::kDirectoryMake), 3 * triesEach);
  EXPECT_TRUE(lock.ObtainLock());
}

TEST_F(FileSystemLockTest, OutsideTheListItStaysHeld) {
  const lmktest::TempDir outside;
  const std::string elsewhere = outside.File("lock");
  lmktest::TraceRecorder recorder;
  FileSystemLock lock(elsewhere.c_str(), 0, 0);
  ASSERT_TRUE(lock);
  EXPECT_FALSE(lock.ReleaseLock());
  EXPECT_TRUE(lock);
  EXPECT_FALSE(lock.BindLock(path_.c_str(), 0, 0));
  EXPECT_THAT(recorder.TakeTexts(), testing::Contains(StartsWith("Could not release lock \"" + elsewhere)));
  ASSERT_TRUE(FileSystem::AddValidPath((outside.Path() + "/").c_str()));
  EXPECT_TRUE(lock.BindLock(path_.c_str(), 0, 0));
  EXPECT_FALSE(FileSystem::DirExists(elsewhere.c_str()));
  EXPECT_TRUE(FileSystem::RemoveValidPath(outside.Path().c_str()));
}

}  // namespace
}  // namespace du
