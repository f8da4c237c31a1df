#include "lmkutils/platform/at_exit.h"

#include <algorithm>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/os/fault/fault.h"

namespace {

using dp::AtExitFunction;

std::string called;
dp::TrackerStackImpl* scheduledInto = nullptr;

template <char Name>
void Call() {
  called += Name;
}
void Throw() {
  called += '!';
  throw std::runtime_error("from an exit call");
}
void ScheduleAnother() {
  called += '+';
  dp::ScheduleAtExitCall(*scheduledInto, 5, Call<'n'>);
}

// A tracker whose remaining calls are dropped.
struct Tracker : dp::TrackerStackImpl {
  Tracker() {
    called.clear();
    scheduledInto = this;
  }
  ~Tracker() { dp::Clear(*this); }
  Tracker(const Tracker&) = delete;
  Tracker& operator=(const Tracker&) = delete;

  std::string RunAll() {
    called.clear();
    while (count != 0) PopBack(*this);
    return called;
  }
};

TEST(AtExit, CallsInIncreasingLongevityAndLastScheduledFirstAmongEquals) {
  const struct {
    std::vector<unsigned> longevities;  // of the calls a, b, c, d
    const char* calls;
  } cases[] = {
      {{}, ""},
      {{5}, "a"},
      {{1, 2, 3, 4}, "abcd"},
      {{4, 3, 2, 1}, "dcba"},
      {{7, 7, 7, 7}, "dcba"},
      {{2, 1, 2, 1}, "dbca"},
      {{0, 0xFFFFFFFF, 0x80000000, 0x7FFFFFFF}, "adcb"},
      {{0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFE}, "cdba"},
  };
  constexpr AtExitFunction kCalls[] = {Call<'a'>, Call<'b'>, Call<'c'>, Call<'d'>};
  for (const auto& item : cases) {
    Tracker tracker;
    for (std::size_t i = 0; i < item.longevities.size(); ++i) {
      dp::ScheduleAtExitCall(tracker, item.longevities[i], kCalls[i]);
    }
    EXPECT_EQ(tracker.RunAll(), item.calls);
    EXPECT_EQ(tracker.records, nullptr);
  }
}

TEST(AtExit, KeepsTheOrderOfAStableSort) {
  std::minstd_rand random(3);
  Tracker tracker;
  std::vector<unsigned> model;  // longest first
  for (int i = 0; i < 2000; ++i) {
    if (random() % 3 == 0 && !model.empty()) {
      dp::PopBack(tracker);
      model.pop_back();
    } else {
      const unsigned longevity = static_cast<unsigned>(random() % 20);
      dp::ScheduleAtExitCall(tracker, longevity, Call<'x'>);
      model.insert(std::upper_bound(model.begin(), model.end(), longevity, std::greater<>()), longevity);
    }
    ASSERT_TRUE(
        std::equal(model.begin(), model.end(), tracker.records, tracker.records + tracker.count,
                   [](unsigned left, const dp::AtExitRecord* right) { return left == right->longevity; }));
  }
}

TEST(AtExit, ACancelledCallIsSkippedButItsRecordConsumed) {
  Tracker tracker;
  dp::ScheduleAtExitCall(tracker, 3, Call<'a'>);
  dp::ScheduleAtExitCall(tracker, 1, Call<'b'>);
  dp::ScheduleAtExitCall(tracker, 2, Call<'c'>);
  dp::ScheduleAtExitCall(tracker, 9, Call<'b'>);
  dp::CancelAtExitCall(tracker, Call<'b'>);
  EXPECT_EQ(tracker.count, 4U);
  dp::PopBack(tracker);
  EXPECT_EQ(tracker.count, 3U);
  EXPECT_EQ(called, "");
  EXPECT_EQ(tracker.RunAll(), "ca");
}

TEST(AtExit, AnEmptyTrackerHasNothingToDo) {
  Tracker tracker;
  dp::PopBack(tracker);
  dp::CancelAtExitCall(tracker, Call<'a'>);
  EXPECT_EQ(tracker.RunAll(), "");
}

TEST(AtExit, ACallMayScheduleAnother) {
  Tracker tracker;
  dp::ScheduleAtExitCall(tracker, 9, Call<'z'>);
  dp::ScheduleAtExitCall(tracker, 1, ScheduleAnother);
  EXPECT_EQ(tracker.RunAll(), "+nz");
}

TEST(AtExit, ACallThatThrowsIsGoneAllTheSame) {
  Tracker tracker;
  dp::ScheduleAtExitCall(tracker, 2, Call<'a'>);
  dp::ScheduleAtExitCall(tracker, 1, Throw);
  EXPECT_THROW(dp::PopBack(tracker), std::runtime_error);
  EXPECT_EQ(tracker.RunAll(), "a");
}

TEST(AtExit, WithoutMemoryNothingIsScheduled) {
  using os::fault::Arming;
  for (const auto failing : {os::fault::Call::kHeapReallocate, os::fault::Call::kHeapAllocate}) {
    Tracker tracker;
    dp::ScheduleAtExitCall(tracker, 1, Call<'a'>);
    {
      const Arming noMemory(failing);
      EXPECT_THROW(dp::ScheduleAtExitCall(tracker, 1, Call<'b'>), std::bad_alloc);
    }
    EXPECT_EQ(tracker.count, 1U);
    dp::ScheduleAtExitCall(tracker, 1, Call<'c'>);
    EXPECT_EQ(tracker.RunAll(), "ca");
  }
}

TEST(AtExit, AnArrayThatCannotShrinkServesOn) {
  Tracker tracker;
  for (int i = 0; i < 5; ++i) dp::ScheduleAtExitCall(tracker, 1, Call<'a'>);
  const os::fault::Arming noMemory(os::fault::Call::kHeapReallocate, {.count = os::fault::kForEver});
  EXPECT_EQ(tracker.RunAll(), "aaaaa");
}

}  // namespace
