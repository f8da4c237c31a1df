#include "lmkutils/platform/internal/singleton.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/platform/internal/global_tracker.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/pattern.h"
#include "lmkutils/testing/threads.h"

namespace {

using dp::internal::Singleton;

// Of a class that needs no others.
template <class Class, unsigned Rank>
struct PlainTraits {
  using Object = Class;
  static void Prepare() {}
  static Object* Create() { return new Class; }
  static void Destroy(Object* object) noexcept { delete object; }
  static unsigned Longevity() noexcept { return Rank; }
};

// One for each (name, longevity); says when it goes.
template <char Name, unsigned Rank>
struct Part {
  using Only = Singleton<PlainTraits<Part, Rank>>;

  ~Part() {
    const bool hidden =
        Only::IsDestroyed() && Only::Existing() == nullptr && Only::InstanceOrNull() == nullptr;
    std::printf("%c%s", Name, hidden ? "" : " can be reached while it dies ");
  }
};

using Early = Part<'e', 1>;
using Late = Part<'l', 3>;
using AlsoLate = Part<'m', 3>;

void UseByName(char name) {
  if (name == 'e') Early::Only::Instance();
  if (name == 'l') Late::Only::Instance();
  if (name == 'm') AlsoLate::Only::Instance();
}

// Registered before all others, so it runs after them.
void UseTheDead() {
  try {
    Early::Only::Instance();
    std::printf(" alive");
  } catch (const dp::DeadReference& dead) {
    std::printf(" %s", dead.what());
  } catch (...) {
    std::printf(" something else");
  }
}

const lmktest::ChildRole kUseInOrder("use_singletons", [](const std::vector<std::string>& args) {
  if (args.size() > 1) std::atexit(UseTheDead);
  for (const char name : args.at(0)) UseByName(name);
  return 0;
});

TEST(Singleton, ItsEndIsDecidedByLongevityAlone) {
  const struct {
    const char* used;
    const char* ends;
  } cases[] = {{"elm", "eml"}, {"mle", "elm"}, {"lem", "eml"}, {"m", "m"}, {"lele", "el"}};
  for (const auto& item : cases) {
    const auto child = lmktest::RunSelf("use_singletons", {item.used});
    EXPECT_EQ(child.exitCode, 0) << child.err;
    EXPECT_EQ(child.out, item.ends) << item.used;
  }
}

TEST(Singleton, ThrowsAfterItsEnd) {
  const auto child = lmktest::RunSelf("use_singletons", {"el", "and then"});
  EXPECT_EQ(child.exitCode, 0) << child.err;
  EXPECT_EQ(child.out, "el Dead Reference Detected");
}

// Threads that the end of the process finds at work, using and creating.
const lmktest::ChildRole kUseWhileEnding("use_singletons_while_ending", [](const std::vector<std::string>&) {
  for (int number = 0; number < 3; ++number) {
    std::thread([number] {
      for (;;) {
        Early::Only::InstanceOrNull();
        if (number == 0) Late::Only::InstanceOrNull();
        if (number == 1) AlsoLate::Only::InstanceOrNull();
      }
    }).detach();
  }
  lmktest::WaitUntil([] { return Early::Only::Existing() != nullptr; });
  return 0;
});

TEST(Singleton, EndsCleanlyUnderThreadsThatStillRun) {
  for (int i = 0; i < 10; ++i) {
    const auto child = lmktest::RunSelf("use_singletons_while_ending");
    EXPECT_EQ(child.exitCode, 0) << child.err;
    EXPECT_FALSE(child.crashed || child.timedOut);
    EXPECT_THAT(child.out, lmktest::IsOfForm("e[lm]*"));
  }
}

// Waits in its destructor for a thread that creates another one.
class Patient {
 public:
  Patient()
      : other_([this] {
          lmktest::WaitUntil([this] { return ending_.load(); });
          Late::Only::Instance();
        }) {}
  ~Patient() {
    ending_ = true;
    other_.join();
  }

 private:
  std::atomic<bool> ending_{false};
  std::thread other_;
};

const lmktest::ChildRole kCreateWhileEnding("create_singleton_while_ending",
                                            [](const std::vector<std::string>&) {
                                              Singleton<PlainTraits<Patient, 2>>::Instance();
                                              return 0;
                                            });

TEST(Singleton, MayWaitAtItsEndForAThreadThatCreatesAnother) {
  if (os::GetCapabilities().exitKillsThreads) GTEST_SKIP() << "on this target no thread is left at exit";
  const auto child = lmktest::RunSelf("create_singleton_while_ending");
  EXPECT_EQ(child.exitCode, 0) << child.err;
  EXPECT_FALSE(child.crashed || child.timedOut);
}

const lmktest::ChildRole kEndInsideLock("end_inside_tracker_lock", [](const std::vector<std::string>&) {
  static os::Capabilities facts = os::GetCapabilities();
  facts.exitKillsThreads = true;
  static const os::fault::PretendCapabilities pretended(facts);  // goes after the exit calls
  Early::Only::Instance();
  lmktest::OnOtherThread([] { dp::internal::GetGlobalTracker().lock.Lock(); });
  return 0;
});

TEST(Singleton, IsLeftToTheSystemWhenADeadThreadHoldsTheTracker) {
  const auto child = lmktest::RunSelf("end_inside_tracker_lock");
  EXPECT_EQ(child.exitCode, 0) << child.err;
  EXPECT_FALSE(child.crashed || child.timedOut);
  EXPECT_EQ(child.out, "");
}

// A singleton whose creation can be told to fail.
struct Fragile {
  struct Traits {
    using Object = Fragile;
    static void Prepare() {}
    static Object* Create() {
      ++created;
      if (recursive) Only::Instance();
      if (created == 1) throw std::runtime_error("the first one fails");
      return new Fragile;
    }
    static void Destroy(Object* object) noexcept {
      delete object;
      ++destroyed;
    }
    static unsigned Longevity() noexcept { return 5; }
  };
  using Only = Singleton<Traits>;

  static inline int created = 0;
  static inline int destroyed = 0;
  static inline bool recursive = false;
};

TEST(Singleton, AFailedCreationLeavesNothingBehind) {
  if (Fragile::Only::Existing() != nullptr) GTEST_SKIP() << "once a process";
  EXPECT_THROW(Fragile::Only::Instance(), std::runtime_error);
  Fragile::recursive = true;
  EXPECT_THROW(Fragile::Only::Instance(), std::logic_error);
  Fragile::recursive = false;
  Fragile::created = 1;

  const unsigned scheduled = dp::internal::GetGlobalTracker().stack.count;
  for (const auto failing : {os::fault::Call::kHeapReallocate, os::fault::Call::kHeapAllocate}) {
    const os::fault::Arming noMemory(failing);
    EXPECT_EQ(Fragile::Only::InstanceOrNull(), nullptr);
    EXPECT_EQ(Fragile::destroyed, Fragile::created - 1);
  }
  EXPECT_EQ(dp::internal::GetGlobalTracker().stack.count, scheduled);

  Fragile* const object = &Fragile::Only::Instance();
  EXPECT_EQ(object, Fragile::Only::Existing());
  EXPECT_EQ(dp::internal::GetGlobalTracker().stack.count, scheduled + 1);
  lmktest::OnOtherThread([object] { EXPECT_EQ(object, &Fragile::Only::Instance()); });
}

struct Shared {
  Shared() {
    ++created;
    lmktest::GiveOthersTime();
  }
  static inline std::atomic<int> created{0};
};

TEST(Singleton, IsCreatedOnceByManyThreads) {
  lmktest::OnThreads(8, [](int) { Singleton<PlainTraits<Shared, 5>>::Instance(); });
  EXPECT_EQ(Shared::created, 1);
}

}  // namespace
