#include "lmkutils/time/time.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/os/fault/clock.h"
#include "lmkutils/testing/child_process.h"

namespace du {
namespace {

// The structures of the system, as <windows.h> declares them: other types than ours.
struct SystemsFileTime {
  unsigned long dwLowDateTime;
  unsigned long dwHighDateTime;
};
struct SystemsSystemTime {
  unsigned short wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

constexpr std::int64_t kBefore = 77'000;  // what a refused value must leave

TEST(Time, TakesMillisecondsAndGivesSeconds) {
  const struct {
    std::int64_t milliseconds, seconds;
  } cases[] = {{0, 0},
               {999, 0},
               {1000, 1},
               {-1, -1},
               {-1000, -1},
               {4'102'444'800'000, 4'102'444'800},
               {std::numeric_limits<std::int64_t>::min(), -9'223'372'036'854'776}};
  for (const auto& c : cases) {
    EXPECT_EQ(Time(c.milliseconds).GetTime(), c.seconds);
    Time time;
    time.SetToUtcTime(c.milliseconds);
    EXPECT_EQ(time.GetTime(), c.seconds);
  }
  EXPECT_TRUE(Time(999) < Time(1000));
  EXPECT_FALSE(Time(1000) < Time(1999));
}

TEST(Time, IsNow) {
  os::fault::PretendClock clock;
  clock.SetWallSeconds(2'000'000'000);
  Time time;
  EXPECT_EQ(time.GetTime(), 2'000'000'000);
  clock.SetWallSeconds(2'000'000'001);
  time.SetToCurrentTime();
  EXPECT_EQ(time.GetTime(), 2'000'000'001);
}

TEST(Time, TakesFileTimes) {
  const struct {
    std::uint64_t ticks;
    std::int64_t seconds;
  } cases[] = {
      {0, -11'644'473'600},
      {9'999'999, -11'644'473'600},
      {116'444'736'000'000'000, 0},
      {116'444'735'999'999'999, -1},
      {134'394'000'000'000'000, 1'794'926'400},
      {(std::uint64_t{1} << 63) - 1, 910'692'730'085},
  };
  for (const auto& c : cases) {
    const FileTime ours{static_cast<std::uint32_t>(c.ticks), static_cast<std::uint32_t>(c.ticks >> 32)};
    SystemsFileTime systems{ours.dwLowDateTime, ours.dwHighDateTime};
    EXPECT_EQ(Time(&ours).GetTime(), c.seconds) << c.ticks;
    EXPECT_EQ(Time(&systems).GetTime(), c.seconds) << c.ticks;
  }
  const FileTime tooLate{0, 0x80000000};
  Time time(kBefore);
  EXPECT_FALSE(time.SetToFileTime(&tooLate));
  EXPECT_FALSE(time.SetToFileTime(static_cast<FileTime*>(nullptr)));
  EXPECT_EQ(time.GetTime(), 77);
  EXPECT_EQ(Time(&tooLate).GetTime(), 0);
}

TEST(Time, TakesSystemTimes) {
  SystemsSystemTime systems{2026, 11, 99, 17, 9, 5, 7, 42};
  EXPECT_EQ(Time(&systems).GetTime(), 1'794'906'307);
  const struct {
    SystemTime fields;
    std::int64_t seconds;
  } good[] = {
      {{1601, 1, 1, 1, 0, 0, 0, 0}, -11'644'473'600},
      {{2000, 2, 0, 29, 23, 59, 59, 999}, 951'868'799},
      {{30827, 12, 0, 31, 23, 59, 59, 999}, 910'670'515'199},
  };
  for (const auto& c : good) EXPECT_EQ(Time(&c.fields).GetTime(), c.seconds);
  const SystemTime bad[] = {
      {1600, 12, 0, 31, 0, 0, 0, 0}, {30828, 1, 0, 1, 0, 0, 0, 0},   {2026, 0, 0, 1, 0, 0, 0, 0},
      {2026, 13, 0, 1, 0, 0, 0, 0},  {2026, 1, 0, 0, 0, 0, 0, 0},    {2026, 4, 0, 31, 0, 0, 0, 0},
      {2100, 2, 0, 29, 0, 0, 0, 0},  {2026, 1, 0, 1, 24, 0, 0, 0},   {2026, 1, 0, 1, 0, 60, 0, 0},
      {2026, 1, 0, 1, 0, 0, 60, 0},  {2026, 1, 0, 1, 0, 0, 0, 1000},
  };
  for (const SystemTime& fields : bad) {
    Time time(kBefore);
    EXPECT_FALSE(time.SetToSystemTime(&fields));
    EXPECT_EQ(time.GetTime(), 77);
  }
}

TEST(Time, WritesAndReadsISO8601) {
  const std::pair<std::int64_t, const char*> cases[] = {
      {0, "19700101T000000"},
      {1'794'906'307, "20261117T090507"},
      {951'868'799, "20000229T235959"},
      {2'147'483'648, "20380119T031408"},
      {-1, "19691231T235959"},
      {-62'167'219'200, "00000101T000000"},
      {253'402'300'799, "99991231T235959"},
  };
  for (const auto& [seconds, text] : cases) {
    EXPECT_EQ(Time(seconds * 1000).ToISO8601(), text);
    Time time(kBefore);
    EXPECT_TRUE(time.SetToISO8601(text));
    EXPECT_EQ(time.GetTime(), seconds);
  }
  EXPECT_EQ(Time(253'402'300'800'000).ToISO8601(), "100000101T000000");
  EXPECT_EQ(Time(-62'167'219'201'000).ToISO8601(), "-00011231T235959");
  Time time(kBefore);
  EXPECT_FALSE(time.SetToISO8601("yesterday"));
  EXPECT_FALSE(time.SetToISO8601(std::string("20261117\0", 9)));
  EXPECT_EQ(time.GetTime(), 77);
}

TEST(Time, KnowsWhatTheCalendarTakes) {
  EXPECT_TRUE(Time::IsTimeValid(0));
  EXPECT_TRUE(Time::IsTimeValid(4'107'542'400'000));
  EXPECT_TRUE(Time::IsTimeValid(32'503'680'000'000 - 86'400'000));
  // Beyond, by target; what it refuses has no local form.
  for (const std::int64_t milliseconds :
       {std::int64_t{-1'000'000'000'000}, std::int64_t{32'600'000'000'000}}) {
    const Time time(milliseconds);
    EXPECT_EQ(time.ToLocalTimeString("%Y").empty(), !Time::IsTimeValid(milliseconds));
    if (Time::IsTimeValid(milliseconds)) continue;
    EXPECT_EQ(time.GetYearDay(), 0);
    EXPECT_FALSE(time.IsDaylightSaving());
  }
}

// In the zone of TZ: the first argument by the format in the second.
const lmktest::ChildRole kLocal("time_local", [](const std::vector<std::string>& args) {
  const Time time(std::stoll(args.at(0)));
  std::printf("%s|%d|%d", time.ToLocalTimeString(args.at(1)).c_str(), time.GetYearDay(),
              time.IsDaylightSaving());
  return 0;
});

TEST(Time, HasALocalForm) {
  const auto local = [](const char* zone, const char* milliseconds, const char* format) {
    return lmktest::RunSelf("time_local", {milliseconds, format}, {{"TZ", zone}}).out;
  };
  EXPECT_EQ(local("AAA-5:45", "1794906307042", "%Y-%m-%dT%H:%M:%S%z"), "2026-11-17T14:50:07+0545|320|0");
  EXPECT_EQ(local("BBB3:30", "1767237300999", "%F_%T_%z"), "2025-12-31_23:45:00_-0330|364|0");
  EXPECT_EQ(local("CET-1CEST,M3.5.0,M10.5.0/3", "1782907200000", "%H_%z"), "14_+0200|181|1");
  EXPECT_EQ(Time(0).ToLocalTimeString(static_cast<const char*>(nullptr)), "");
  EXPECT_EQ(Time(86'400'000).ToLocalTimeString(std::string(10'000, 'x')), std::string(10'000, 'x'));
}

}  // namespace
}  // namespace du
