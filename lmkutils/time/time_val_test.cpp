#include "lmkutils/time/time_val.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/os/clock.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/time/internal/calendar.h"
#include "lmkutils/time/time.h"

namespace du {
namespace {

using testing::HasSubstr;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr const char* kBadInstant = "0:0:00.000  0 <Bad month> 0";

template <class T>
std::string Printed(const T& value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

TEST(UtcTimeVal, PrintsInstants) {
  const struct {
    std::int64_t milliseconds;
    const char* text;
  } cases[] = {
      {0, "0:0:00.000  1 Jan 1970"},
      {1'794'906'307'042, "9:5:07.042  17 Nov 2026"},
      {951'868'799'999, "23:59:59.999  29 Feb 2000"},
      {951'868'800'000, "0:0:00.000  1 Mar 2000"},
      {2'147'483'648'007, "3:14:08.007  19 Jan 2038"},
      {4'107'542'399'990, "23:59:59.990  28 Feb 2100"},
      {32'535'215'999'999, "23:59:59.999  31 Dec 3000"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Printed(UtcTimeVal(c.milliseconds)), c.text);
    EXPECT_EQ(UtcTimeVal(c.milliseconds).GetString(), c.text);
  }
}

// What the run-time refuses depends on the target: there is one text for it, and one for those that go on.
TEST(UtcTimeVal, PrintsInstantsFarAway) {
  const struct {
    std::int64_t milliseconds;
    const char* text;
  } cases[] = {
      {-1, "23:59:59.999  31 Dec 1969"},
      {-2'208'988'800'001, "23:59:59.999  31 Dec 1899"},
      {-62'167'219'200'001, "23:59:59.999  31 Dec -1"},
      {-62'135'596'800'000, "0:0:00.000  1 Jan 1"},
      {253'402'300'800'000, "0:0:00.000  1 Jan 10000"},
      {32'535'216'000'000, "0:0:00.000  1 Jan 3001"},
      {kMost, "7:12:55.807  17 Aug 292278994"},
      {-kMost - 1, "16:47:04.192  16 May -292275055"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Printed(UtcTimeVal(c.milliseconds)), Time::IsTimeValid(c.milliseconds) ? c.text : kBadInstant);
  }
}

TEST(TimeVal, PrintsDurations) {
  const struct {
    std::int64_t milliseconds;
    const char* text;
  } cases[] = {
      {0, "0:0:00.000"},
      {7, "0:0:00.007"},
      {59'999, "0:0:59.999"},
      {60'000, "0:1:00.000"},
      {94'989'120, "26:23:09.120"},
      {-1, "-0:0:00.001"},
      {-3'661'001, "-1:1:01.001"},
      {kMost, "2562047788015:12:55.807"},
      {-kMost - 1, "-2562047788015:12:55.808"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Printed(TimeVal(c.milliseconds)), c.text);
    EXPECT_EQ(TimeVal(c.milliseconds).GetString(), c.text);
  }
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '#'; }
  std::string do_grouping() const override { return "\1"; }
};

TEST(TimeVal, PrintsTheSameTextWhateverTheStreamIsSetTo) {
  std::ostringstream stream;
  stream.imbue(std::locale(stream.getloc(), new Grouping));
  stream << std::hex << std::showpos << std::showbase << std::left << std::setfill('*')
         << std::setprecision(1);
  const std::ios::fmtflags flags = stream.flags();
  stream << std::setw(60) << UtcTimeVal(1'794'906'307'042);
  EXPECT_EQ(stream.str(), "9:5:07.042  17 Nov 2026");
  EXPECT_EQ(stream.flags(), flags);
  EXPECT_EQ(stream.width(), 60);
  EXPECT_EQ(stream.fill(), '*');
  EXPECT_EQ(stream.precision(), 1);
  stream.str("");
  stream << LocalTimeVal(0) << TimeVal(1'234'567'890);
  EXPECT_THAT(stream.str(), testing::EndsWith("342:56:07.890"));
  stream.setstate(std::ios::failbit);
  const std::string before = stream.str();
  stream << TimeVal(1);
  EXPECT_EQ(stream.str(), before);
}

// The text that the run-time's own local calendar leads to.
std::string ExpectedLocal(std::int64_t seconds, unsigned milliseconds) {
  static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm t;
  if (!os::LocalCalendar(seconds, t)) return kBadInstant;
  char text[128];
  std::snprintf(text, sizeof text, "%d:%d:%02d.%03u  %d %s %d", t.tm_hour, t.tm_min, t.tm_sec, milliseconds,
                t.tm_mday, months[t.tm_mon], t.tm_year + 1900);
  return text;
}

bool IsAsExpected(std::int64_t seconds) {
  const auto milliseconds = static_cast<unsigned>(seconds & 511);
  const std::string expected = ExpectedLocal(seconds, milliseconds);
  const std::string found = Printed(LocalTimeVal(seconds * 1000 + milliseconds));
  if (found != expected) std::printf("%s instead of %s\n", found.c_str(), expected.c_str());
  return found == expected;
}

std::int64_t OffsetAt(std::int64_t seconds) {
  std::tm fields;
  return os::LocalCalendar(seconds, fields) ? internal::SecondsFromFields(fields) - seconds : kMost;
}

// The first second of the new offset, between two instants of different ones.
std::int64_t FindChange(std::int64_t before, std::int64_t after) {
  const std::int64_t old = OffsetAt(before);
  while (after - before > 1) {
    const std::int64_t middle = before + (after - before) / 2;
    (OffsetAt(middle) == old ? before : after) = middle;
  }
  return after;
}

// Random instants, and those around every change of the zone's offset from 1900 to 2040.
bool AgreesWithTheRunTime() {
  bool good = true;
  std::mt19937_64 random(3);
  std::uniform_int_distribution<std::int64_t> instants(-5'000'000'000, 40'000'000'000);
  for (int i = 0; i < 5'000; ++i) good = IsAsExpected(instants(random)) && good;
  int changes = 0;
  for (std::int64_t day = -2'208'988'800; day < 2'208'988'800; day += internal::kSecondsPerDay) {
    const std::int64_t next = day + internal::kSecondsPerDay;
    if (OffsetAt(day) == OffsetAt(next)) continue;
    const std::int64_t change = FindChange(day, next);
    ++changes;
    for (const std::int64_t distance : {-900, -899, -61, -1, 0, 1, 60, 450, 899, 900, 901}) {
      good = IsAsExpected(change + distance) && good;
    }
  }
  std::printf("%d changes\n", changes);
  return good;
}

// In the zone of the variable TZ: prints each instant of the arguments, then compares with the run-time.
const lmktest::ChildRole kZone("time_zone", [](const std::vector<std::string>& args) {
  for (const std::string& arg : args) {
    const LocalTimeVal instant(std::stoll(arg));
    std::printf("%s|%s|%s\n", instant.GetString().c_str(), instant.GetDateString().c_str(),
                instant.GetDateStringShort().c_str());
  }
  return AgreesWithTheRunTime() ? 0 : 1;
});

lmktest::ChildResult InZone(const std::string& zone, const std::vector<std::string>& args = {}) {
  return lmktest::RunSelf("time_zone", args, {{"TZ", zone}});
}

TEST(LocalTimeVal, PrintsInZonesWithoutRules) {
  const lmktest::ChildResult east = InZone("AAA-5:45", {"1794906307042", "1767204900000"});
  EXPECT_EQ(east.exitCode, 0) << east.out;
  EXPECT_THAT(east.out, HasSubstr("14:50:07.042  17 Nov 2026|17 Nov 2026|2026-11-17\n"
                                  "0:0:00.000  1 Jan 2026|1 Jan 2026|2026-01-01\n"));
  const lmktest::ChildResult west = InZone("BBB3:30", {"1767237300999"});
  EXPECT_EQ(west.exitCode, 0) << west.out;
  EXPECT_THAT(west.out, HasSubstr("23:45:00.999  31 Dec 2025|31 Dec 2025|2025-12-31\n"));
}

// Zones that change on the hour, on the half hour, at odd seconds, and by less than a quarter of an hour;
// those that a run-time does not know are some other zone to it, which must agree as well.
TEST(LocalTimeVal, FollowsEveryChangeOfTheZone) {
  for (const char* zone :
       {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT", "LHT-10:30LHS-11,M10.1.0,M4.1.0",
        "XXX0:00:07YYY-0:19:32,J100/02:07:13,J200/03:03:03", "Europe/Amsterdam", "Africa/Monrovia",
        "Africa/Freetown", "Asia/Kathmandu", "Pacific/Apia", "AAA0BBB,J100,J102"}) {
    const lmktest::ChildResult result = InZone(zone);
    EXPECT_EQ(result.exitCode, 0) << zone << "\n" << result.out.substr(0, 2000);
  }
}

TEST(LocalTimeVal, KnowsDaylightSaving) {
  const lmktest::ChildResult result = InZone(
      "CET-1CEST,M3.5.0,M10.5.0/3", {"1774745999999", "1774746000000", "1792889999999", "1792890000000"});
  EXPECT_EQ(result.exitCode, 0) << result.out;
  if (result.out.find("1:59:59.999  29 Mar 2026") == std::string::npos) {
    GTEST_SKIP() << "the run-time takes no rules from TZ, it has its own";
  }
  EXPECT_THAT(result.out, HasSubstr("1:59:59.999  29 Mar 2026|29 Mar 2026|2026-03-29\n"
                                    "3:0:00.000  29 Mar 2026|29 Mar 2026|2026-03-29\n"
                                    "2:59:59.999  25 Oct 2026|25 Oct 2026|2026-10-25\n"
                                    "2:0:00.000  25 Oct 2026|25 Oct 2026|2026-10-25\n"));
}

TEST(LocalTimeVal, HasATextForRefusedInstants) {
  for (const std::int64_t milliseconds : {-kMost - 1, std::int64_t{-1'000'000'000'000}, kMost}) {
    const LocalTimeVal instant(milliseconds);
    if (Time::IsTimeValid(milliseconds)) {
      EXPECT_THAT(Printed(instant), testing::Not(HasSubstr("Bad"))) << milliseconds;
    } else {
      EXPECT_EQ(Printed(instant), kBadInstant);
      EXPECT_EQ(instant.GetDateString(), "0 <Bad month> 0");
      EXPECT_EQ(instant.GetDateStringShort(), "0000-00-00");
    }
  }
}

TEST(LocalTimeVal, PrintsTheSameInEveryThread) {
  std::vector<std::string> expected;
  for (std::int64_t i = 0; i < 64; ++i) expected.push_back(ExpectedLocal(1'774'700'000 + i * 900, 0));
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([&] {
      for (std::size_t i = 0; i < 6400; ++i) {
        const std::size_t at = i * 7 % 64;
        const auto instant = LocalTimeVal((1'774'700'000 + static_cast<std::int64_t>(at) * 900) * 1000);
        if (Printed(instant) != expected[at]) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace du
