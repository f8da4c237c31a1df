// What the library does when memory runs out, at any moment of its main works: "the n-th request fails", for
// each n up to the first that is not made any more. The work throws std::bad_alloc or gets along without,
// holds no lock, keeps nothing, and is done when it is tried again.
#include "lmkutils/memory/internal/shortage.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/memory/internal/common_pools.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/internal/global_tracker.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace {

using du::internal::CommonPools;
using lmktest::ChildResult;
using os::fault::Call;

// One way in which a request finds no memory.
struct Lever {
  std::string name;
  std::function<void(std::uint64_t first, std::uint64_t count)> begin;
  std::function<std::uint64_t()> requests;  // since begin
  std::function<void()> end;
};

Lever FaultOf(const std::string& name, Call call) {
  return {name,
          [call](std::uint64_t first, std::uint64_t count) {
            os::fault::Arm(call, {.first = first, .count = count});
          },
          [call] { return os::fault::CountOf(call); }, [call] { os::fault::Disarm(call); }};
}

const std::vector<Lever>& Levers() {
  static const std::vector<Lever> levers{
      {"common", [](std::uint64_t first, std::uint64_t count) { du::internal::shortage.Begin(first, count); },
       [] { return du::internal::shortage.Requests(); }, [] { du::internal::shortage.End(); }},
      FaultOf("allocate", Call::kHeapAllocate),
      FaultOf("reallocate", Call::kHeapReallocate),
  };
  return levers;
}

// Something that the library does; `turn` makes each attempt another one, so that none finds the work done.
struct Work {
  std::string name;
  void (*attempt)(const std::string& turn);
};

void Intern(const std::string& turn) {
  const du::Symbol symbol("a text that is new in turn " + turn);
  if (std::string(symbol) != "a text that is new in turn " + turn) throw std::logic_error("another text");
}

// From nothing through several sizes of the table.
void GrowMap(const std::string&) {
  du::HashMap<unsigned, unsigned> map;
  for (unsigned i = 0; i < 200; ++i) {
    try {
      map[i] = i;
    } catch (const std::bad_alloc&) {
      if (map.size() != i || (i > 0 && map.at(i - 1) != i - 1)) throw std::logic_error("a changed map");
      throw;
    }
  }
}

void LoadMessages(const std::string& turn) {
  constexpr int kMessages = 4;
  std::string lines;
  for (int i = 0; i < kMessages; ++i)
    lines += "TAG_" + turn + std::to_string(i) + ".value=text of " + std::to_string(i) + turn + "\n";
  std::istringstream in(lines);
  const auto table = du::MakeShared<du::Lmtrb>(in, "test.lmtrb", du::Lmtrb::kAsWritten);
  du::HashMap<du::Symbol, du::Symbol> all;
  table->AddAllStrings(all);
  if (all.size() != kMessages) throw std::logic_error("messages are missing");
}

std::atomic<int> scheduled{0};

void ScheduleExitCall(const std::string&) {
  const int before = scheduled;
  try {
    dp::internal::GetGlobalTracker().Schedule(
        5, [] {}, [](void*) noexcept { ++scheduled; }, nullptr);
  } catch (const std::bad_alloc&) {
    if (scheduled != before) throw std::logic_error("published without being scheduled");
    throw;
  }
}

const std::vector<Work>& Works() {
  static const std::vector<Work> works{
      {"intern", Intern}, {"map", GrowMap}, {"messages", LoadMessages}, {"exit", ScheduleExitCall}};
  return works;
}

// Of the common pool; it is not made for the sake of the question.
unsigned HeldBytes() {
  unsigned held = 0;
  if (const CommonPools* pools = CommonPools::Existing()) pools->pool.GetAllocationStats(nullptr, &held);
  return held;
}

// What is held when no symbol waits to be freed: makes and drops some until they all are.
unsigned SettledBytes() {
  for (int i = 0;; ++i) {
    const unsigned before = HeldBytes();
    du::Symbol("one more that is dropped, " + std::to_string(i));
    if (HeldBytes() < before) return HeldBytes();
  }
}

bool Fails(const Work& work, const std::string& turn) {
  try {
    work.attempt(turn);
    return false;
  } catch (const std::bad_alloc&) {
    return true;
  }
}

// By another thread, which would wait for ever for a lock that was left.
void AttemptElsewhere(const Work& work, const std::string& turn) {
  std::thread([&] { work.attempt(turn); }).join();
}

bool PoolsAreSane() {
  const CommonPools* pools = CommonPools::Existing();
  return pools == nullptr ||
         (pools->pool.IsInSaneState() && pools->blocks.IsInSaneState() && pools->extra.IsInSaneState());
}

template <class Named>
const Named& ByName(const std::vector<Named>& all, const std::string& name) {
  return *std::find_if(all.begin(), all.end(), [&](const Named& one) { return one.name == name; });
}

// The first thing that a process does: arguments are work, lever, the first request that fails and how many.
// Prints whether there were so many requests, whether the work failed, and what is held in the end.
const lmktest::ChildRole kFirst("first_work", [](const std::vector<std::string>& args) {
  const Work& work = ByName(Works(), args.at(0));
  const Lever& lever = ByName(Levers(), args.at(1));
  const std::uint64_t first = std::stoull(args.at(2));
  lever.begin(first, std::stoull(args.at(3)));
  const bool failed = Fails(work, "1");
  const bool isReached = lever.requests() >= first;
  lever.end();
  AttemptElsewhere(work, "1");
  std::printf("%d %d %u", isReached, failed, SettledBytes());
  return PoolsAreSane() ? 0 : 1;
});

struct FirstWork {
  bool isReached = false;
  bool failed = false;
  unsigned held = 0;
};

FirstWork RunFirstWork(const std::string& work, const std::string& lever, std::uint64_t first,
                       std::uint64_t count) {
  const ChildResult result =
      lmktest::RunSelf("first_work", {work, lever, std::to_string(first), std::to_string(count)});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("", result.err);
  FirstWork out;
  EXPECT_TRUE(std::istringstream(result.out) >> out.isReached >> out.failed >> out.held) << result.out;
  return out;
}

// The process-wide objects are in the making then.
TEST(Shortage, MeetsTheFirstWorkOfAProcess) {
  struct Case {
    const char* work;
    const char* lever;
    int atLeast;  // requests that the work cannot do without
  };
  for (const Case& c :
       {Case{"intern", "common", 1}, Case{"intern", "allocate", 3}, Case{"map", "allocate", 1},
        Case{"messages", "common", 5}, Case{"messages", "allocate", 3}, Case{"exit", "allocate", 1},
        Case{"exit", "reallocate", 1}}) {
    const unsigned held = RunFirstWork(c.work, c.lever, os::fault::kForEver, 1).held;
    int failures = 0;
    FirstWork last{.isReached = true};
    for (std::uint64_t n = 1; last.isReached; ++n) {
      SCOPED_TRACE(std::string(c.work) + ", " + c.lever + " " + std::to_string(n));
      last = RunFirstWork(c.work, c.lever, n, n % 2 != 0 ? 1 : os::fault::kForEver);
      EXPECT_EQ(held, last.held);
      failures += last.failed ? 1 : 0;
    }
    EXPECT_GE(failures, c.atLeast) << c.work << ", " << c.lever;
  }
}

// Checks one attempt that may fail, in a process that has done the work before; returns whether it failed.
bool MayFail(const Work& work, const std::string& turn, const std::function<void()>& strike,
             const std::function<void()>& release) {
  const unsigned before = SettledBytes();
  strike();
  const bool failed = Fails(work, turn);
  release();
  EXPECT_EQ(before, SettledBytes());
  AttemptElsewhere(work, turn);
  EXPECT_EQ(before, SettledBytes());
  EXPECT_TRUE(PoolsAreSane());
  return failed;
}

TEST(Shortage, MeetsEveryLaterWork) {
  for (const Work& work : Works()) {
    int failures = 0;
    work.attempt("0");
    for (const Lever& lever : Levers()) {
      bool isReached = true;
      for (std::uint64_t n = 1; isReached; ++n) {
        SCOPED_TRACE(work.name + ", " + lever.name + " " + std::to_string(n));
        const bool failed = MayFail(
            work, std::to_string(n), [&] { lever.begin(n, n % 2 != 0 ? 1 : os::fault::kForEver); },
            [&] {
              isReached = lever.requests() >= n;
              lever.end();
            });
        failures += failed ? 1 : 0;
      }
    }
    EXPECT_GE(failures, 1) << work.name;
  }
}

// Every control, found as anybody would find it.
TEST(Shortage, MeetsControlsThatAreToldToFail) {
  for (const Work& work : Works()) work.attempt("0");
  const du::MallocCtrlRegistry& registry = du::MallocCtrlRegistry::Instance();
  for (unsigned i = 0; i < registry.GetNumCtrls(); ++i) {
    du::MallocCtrl* control = registry.GetCtrl(i);
    if (control == nullptr) continue;
    for (const Work& work : Works()) {
      SCOPED_TRACE(work.name + std::string(", ") + control->GetName());
      const bool failed = MayFail(
          work, std::to_string(i), [&] { control->SetFailOnNextRequest(); },
          [&] { control->ClearFailOnNextRequest(); });
      if (std::string(control->GetName()) == "Common Mem Pool") {
        EXPECT_EQ(work.name != "exit", failed) << "an exit call asks the run-time heap alone";
      }
    }
  }
}

}  // namespace
