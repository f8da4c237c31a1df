#include "lmkutils/time/timer.h"

#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/os/fault/clock.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/time/clock.h"
#include "lmkutils/time/internal/ticks.h"
#include "lmkutils/time/interval_alarm.h"

namespace du {
namespace {

using os::fault::PretendClock;

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

// A counter that the test moves by milliseconds.
class Clock {
 public:
  Clock() { Set(1000 * kDay * 1000); }
  void Set(std::int64_t milliseconds) {
    now_ = milliseconds;
    pretend_.SetCounter(now_ * (Timer::GetRawFrequency() / 1000));
  }
  void Advance(std::int64_t milliseconds) { Set(now_ + milliseconds); }
  PretendClock& Pretend() { return pretend_; }

 private:
  PretendClock pretend_;
  std::int64_t now_ = 0;
};

TEST(Timer, ConvertsTicksWithoutOverflow) {
  const struct {
    std::int64_t ticks, frequency, milliseconds;
  } cases[] = {
      {999999999, 1000000000, 999},
      {999999, 1000000000, 0},
      {1000000, 1000000000, 1},
      {34560000333333333, 1000000000, 34560000333},
      {9223372036854775807, 1000000000, 9223372036854},
      {9999, 10000000, 0},
      {10000, 10000000, 1},
      {3456000003333333, 10000000, 345600000333},
      {-10000001, 10000000, -1000},
      {3579, 3579545, 0},
      {3580, 3579545, 1},
      {12370907521193181, 3579545, 3456000000333},
      {9223372036854775, 3579545, 2576688388288},
      {2147483646, 2147483647, 999},
      {9091586769012941823, 2147483647, 4233600000499},
      {9223372036854775, 1, 9223372036854775000},
      {-5, 1, -5000},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(internal::TicksToMilliseconds(c.ticks, c.frequency), c.milliseconds)
        << c.ticks << " at " << c.frequency;
  }
}

TEST(Timer, CountsFromItsReset) {
  Clock clock;
  Timer timer(false);
  EXPECT_EQ(timer.MSec(), 0);
  clock.Advance(1234);
  EXPECT_EQ(timer.MSec(), 1234);
  const Timer copy = timer;
  EXPECT_EQ(timer.Reset(false), Timer::GetRawValue());
  EXPECT_EQ(timer.MSec(), 0);
  EXPECT_EQ(copy.MSec(), 1234);
  timer = copy;
  EXPECT_EQ(timer.MSec(), 1234);
}

TEST(Timer, CountsFromTheLastDayOfTheCounter) {
  Clock clock;
  clock.Set(7 * kDay * 1000);
  EXPECT_EQ(Timer(true).MSec(), 0);
  clock.Advance(3);
  Timer timer(true);
  EXPECT_EQ(timer.MSec(), 3);
  clock.Advance(kDay * 1000);
  EXPECT_EQ(timer.MSec(), kDay * 1000 + 3);
  EXPECT_EQ(timer.Reset(true), Timer::GetRawValue());
  EXPECT_EQ(timer.MSec(), 3);
}

TEST(Timer, ThrowsWhenTheCounterFails) {
  Clock clock;
  Timer timer(false);
  clock.Pretend().FailCounter();
  const auto expectThrow = [](auto call) {
    try {
      call();
      ADD_FAILURE() << "nothing thrown";
    } catch (const std::logic_error& error) {
      EXPECT_STREQ(error.what(), "Could not get realtime clock value.");
    }
  };
  expectThrow([&] { static_cast<void>(timer.MSec()); });
  expectThrow([&] { timer.Reset(false); });
  expectThrow([&] { Timer another(true); });
  expectThrow([&] { static_cast<void>(Timer::GetRawValue()); });
  clock.Advance(5);
  EXPECT_EQ(timer.MSec(), 5);
}

TEST(Timer, SleepsAtLeastAsLongAsAsked) {
  const Timer timer(false);
  EXPECT_TRUE(Timer::SleepMilliSeconds(0));
  EXPECT_TRUE(Timer::SleepMilliSeconds(20));
  EXPECT_GE(timer.MSec(), 19);
}

// Both start anew in a child: the frequency and the base are taken once in a process.
const lmktest::ChildRole kFirstCalls("time_first_calls", [](const std::vector<std::string>&) {
  PretendClock clock;
  clock.FailCounterFrequency();
  const auto whatOf = [](auto call) -> std::string {
    try {
      call();
    } catch (const std::logic_error& error) {
      return error.what();
    }
    return "";
  };
  const std::string noFrequency = "Could not get realtime clock frequency.";
  if (whatOf([] { Timer timer(false); }) != noFrequency) return 1;
  if (whatOf([] { static_cast<void>(Timer::GetRawFrequency()); }) != noFrequency) return 2;
  if (whatOf([] { GetTime(); }) != noFrequency) return 3;
  return 0;
});

const lmktest::ChildRole kBase("time_base", [](const std::vector<std::string>&) {
  PretendClock clock;
  const std::int64_t second = Timer::GetRawFrequency();
  clock.SetWallSeconds(1'000'000'000);
  clock.FailCounter();
  try {
    GetTime();
    return 1;
  } catch (const std::logic_error&) {
  }
  // The failed call has left no base.
  clock.SetWallSeconds(2'000'000'000);
  clock.SetCounter(500 * second);
  if (GetTime() != 2'000'000'000'000) return 2;
  // Neither a wall clock set back or forward nor the age of the process spoils it.
  clock.SetWallSeconds(5);
  clock.SetCounter(500 * second + second / 4);
  if (GetTime() != 2'000'000'000'250) return 3;
  clock.SetCounter(500 * second + 200 * kDay * second);
  return GetTime() == 2'000'000'000'000 + 200 * kDay * 1000 ? 0 : 4;
});

TEST(GetTime, ReportsAMissingCounter) {
  EXPECT_EQ(lmktest::RunSelf("time_first_calls").exitCode, 0);
}

TEST(GetTime, IsAWholeSecondAndATimer) {
  EXPECT_EQ(lmktest::RunSelf("time_base").exitCode, 0);
}

TEST(GetTime, NeverGoesBackInAnyThread) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      std::int64_t last = GetTime();
      for (int n = 0; n < 20'000; ++n) {
        const std::int64_t now = GetTime();
        ASSERT_LE(last, now);
        last = now;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(IntervalAlarm, ReportsAMissedAlarmOnce) {
  Clock clock;
  IntervalAlarm alarm(1000);
  EXPECT_TRUE(alarm.IsActive());
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 1000);
  clock.Advance(999);
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 1);
  clock.Advance(2501);
  EXPECT_EQ(alarm.TimeNow(), 3500);
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 0);
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 500);
  clock.Advance(500);
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 0);  // due to the millisecond
  EXPECT_EQ(alarm.TimeTillNextAlarm(), 1000);
}

TEST(IntervalAlarm, IsInactiveWithoutAnInterval) {
  Clock clock;
  for (const std::int64_t interval :
       {std::int64_t{0}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::min()}) {
    IntervalAlarm alarm(interval);
    clock.Advance(100);
    EXPECT_FALSE(alarm.IsActive());
    EXPECT_EQ(alarm.TimeTillNextAlarm(), -1);
    EXPECT_EQ(alarm.SetAlarmInterval(50), 100);
    EXPECT_EQ(alarm.TimeTillNextAlarm(), 50);
    EXPECT_EQ(alarm.SetAlarmInterval(interval, 500), 0);
    EXPECT_EQ(alarm.TimeTillNextAlarm(), -1);
  }
}

TEST(IntervalAlarm, AdvancesTheFirstAlarmByWholeIntervals) {
  const struct {
    std::int64_t interval, first, till;
  } cases[] = {
      {1000, 2500, 500},
      {1000, 2000, 1000},
      {1000, 2001, 1},
      {1000, 100, 100},
      {1000, -50, 950},
      {300, 0, 100},
      {kMost, 1, kMost - 2000},
      {kMost, kMost, kMost - 2000},
      {1, -kMost - 1, 1},
      {7, -kMost - 1, 1},
      {kMost, 2000, kMost - 2000},
  };
  Clock clock;
  for (const auto& c : cases) {
    IntervalAlarm alarm(0);
    clock.Advance(2000);
    EXPECT_EQ(alarm.SetAlarmInterval(c.interval, c.first), 2000);
    EXPECT_EQ(alarm.TimeTillNextAlarm(), c.till) << c.interval << " from " << c.first;
  }
}

TEST(IntervalAlarm, HoldsTimesBeyondTheRange) {
  Clock clock;
  IntervalAlarm alarm(1);
  clock.Advance(10);
  EXPECT_EQ(alarm.SetAlarmInterval(kMost), 10);
  EXPECT_EQ(alarm.TimeTillNextAlarm(), kMost - 10);
}

}  // namespace
}  // namespace du
