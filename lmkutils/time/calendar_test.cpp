// The calendar's arithmetic against that of <chrono>, and the two texts made of it.
#include "lmkutils/time/internal/calendar.h"

#include <chrono>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "lmkutils/time/internal/calendar_text.h"
#include "lmkutils/time/internal/iso8601.h"

namespace du::internal {
namespace {

std::chrono::year_month_day ChronoDate(std::int64_t days) {
  return std::chrono::sys_days(std::chrono::days(static_cast<int>(days)));
}

void ExpectChronoDate(std::int64_t days) {
  const std::chrono::year_month_day expected = ChronoDate(days);
  const Date date = DateFromDays(days);
  ASSERT_EQ(date.year, int(expected.year())) << days;
  ASSERT_EQ(date.month, unsigned(expected.month())) << days;
  ASSERT_EQ(date.day, unsigned(expected.day())) << days;
  ASSERT_EQ(DaysFromDate(date.year, date.month, date.day), days);
  ASSERT_EQ(date.day == DaysInMonth(date.year, date.month), unsigned(ChronoDate(days + 1).day()) == 1)
      << days;
}

TEST(Calendar, AgreesWithTheStandardLibrary) {
  for (std::int64_t days = -150'000; days < 200'000; ++days) ExpectChronoDate(days);
  std::mt19937_64 random(1);
  std::uniform_int_distribution<std::int64_t> anyDay(-12'000'000,
                                                     11'000'000);  // years as far as <chrono> goes
  for (int i = 0; i < 20'000; ++i) ExpectChronoDate(anyDay(random));
}

TEST(Calendar, GoesFarBeyondTheStandardLibrary) {
  for (const std::int64_t days : {-106'000'000'000, -146'097'000'003, 106'751'991'167, 146'097'000'001}) {
    const Date date = DateFromDays(days);
    EXPECT_EQ(DaysFromDate(date.year, date.month, date.day), days);
  }
  EXPECT_EQ(DateFromDays(106'751'991'167).year, 292'278'994);  // 2^63 milliseconds
}

TEST(CalendarText, ReadsISO8601) {
  const struct {
    const char* text;
    std::int64_t seconds;
  } cases[] = {
      {"19700101T000000", 0},
      {"1970-01-01T00:00:00Z", 0},
      {"19700101", 0},
      {"2000-02-29", 951'782'400},
      {"20380119T031408", 2'147'483'648},
      {"2100-03-01T00:00:00", 4'107'542'400},
      {"9999-12-31T23:59:59Z", 253'402'300'799},
      {"0000-01-01T00:00:00Z", -62'167'219'200},
      {"1969-12-31T23:59:59.999Z", -1},
      {"2026-11-17T09:05:07+01:00", 1'794'902'707},
      {"20261117T090507+0100", 1'794'902'707},
      {"20261117T090507+01", 1'794'902'707},
      {"2026-11-17T02:35:07-05:30", 1'794'902'707},
      {"20261117t080507z", 1'794'902'707},
      {"20261117T08:05:07,999999999999999999999", 1'794'902'707},
      {"2026-11-17T08", 1'794'902'400},
      {"2026-11-17T0805", 1'794'902'700},
      {"2026-11-17T08:05.5", 1'794'902'730},
      {"2026-11-17T08.25Z", 1'794'903'300},
      {"2026-11-17T24:00:00", 1'794'960'000},
      {"2016-12-31T23:59:60Z", 1'483'228'800},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ParseISO8601(c.text), c.seconds) << c.text;
  }
}

TEST(CalendarText, RefusesWhatIsNotISO8601) {
  for (const char* text : {"",
                           "2026",
                           "2026-11",
                           "202611",
                           "2026-1117",
                           "202611-17",
                           "2026-13-01",
                           "2026-00-01",
                           "2026-11-31",
                           "2026-02-29",
                           "1900-02-29",
                           "2026-11-00",
                           "20261117T",
                           "20261117T9",
                           "20261117T25",
                           "20261117T2400001",
                           "2026-11-17T24:00:01",
                           "2026-11-17T24:00:00.1",
                           "2026-11-17T09:60",
                           "2026-11-17T09:05:61",
                           "2026-11-17T09:05:0",
                           "2026-11-17T09:0507",
                           "2026-11-17T0905:07",
                           "20261117T090507.",
                           "20261117T090507+",
                           "20261117T090507+1",
                           "20261117T090507+24",
                           "20261117T090507+01:",
                           "20261117T090507+0160",
                           "20261117T090507ZZ",
                           "20261117 090507",
                           " 20261117",
                           "20261117 ",
                           "+20261117",
                           "-0001-01-01",
                           "2026/11/17",
                           "20261117T-1",
                           "2026111７",
                           "\xFF",
                           "99999999999999999999"}) {
    EXPECT_EQ(ParseISO8601(text), std::nullopt) << text;
  }
  EXPECT_EQ(ParseISO8601(std::string_view("20261117\0", 9)), std::nullopt);
}

std::tm Fields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm fields{};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  const std::int64_t days = DaysFromDate(year, static_cast<unsigned>(month), day);
  fields.tm_wday = static_cast<int>((days + 4) - FloorDiv(days + 4, 7) * 7);
  fields.tm_yday = static_cast<int>(days - DaysFromDate(year, 1, 1));
  return fields;
}

TEST(CalendarText, KnowsTheConversionsOfC99) {
  const std::tm fields = Fields(2026, 3, 7, 21, 5, 9);
  const struct {
    const char* format;
    const char* text;
  } cases[] = {
      {"%Y-%m-%d %H:%M:%S", "2026-03-07 21:05:09"},
      {"%F %T|%D|%R|%r", "2026-03-07 21:05:09|03/07/26|21:05|09:05:09 PM"},
      {"%C %y %e %j %u %w", "20 26  7 066 6 6"},
      {"%G %g %V %U %W", "2026 26 10 09 09"},
      {"%a %A %b %h %B %p", "Sat Saturday Mar Mar March PM"},
      {"%I %z %n%t%%", "09 +0545 \n\t%"},
      {"%Ey %OH %EY", "26 21 2026"},
      {"Uhr\xC3\xBCmlaut %H", "Uhr\xC3\xBCmlaut 21"},
      {"", ""},
      {"%", "%"},
      {"%E", "%E"},
      {"%%Y %q %1 %-d %\xFF", "%Y %q %1 %-d %\xFF"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FormatCalendar(c.format, fields, (5 * 60 + 45) * 60), c.text) << c.format;
  }
  EXPECT_EQ(FormatCalendar("%z %I", Fields(2026, 3, 7, 0), -9000), "-0230 12");
}

// All days of 40 years, every kind of year among them, against the run-time's own strftime.
TEST(CalendarText, CountsWeeksAsTheRunTimeDoes) {
  const char* const format = "%Y %U %W %j %w";
  for (std::int64_t days = DaysFromDate(1990, 1, 1); days < DaysFromDate(2030, 1, 1); ++days) {
    const Date date = DateFromDays(days);
    const std::tm fields =
        Fields(static_cast<int>(date.year), static_cast<int>(date.month), static_cast<int>(date.day));
    char expected[64];
    ASSERT_NE(std::strftime(expected, sizeof expected, format, &fields), 0u);
    ASSERT_EQ(FormatCalendar(format, fields, 0), expected);
  }
}

TEST(CalendarText, PutsWeeksIntoTheYearOfTheirThursday) {
  const struct {
    std::tm fields;
    const char* text;
  } cases[] = {
      {Fields(2021, 1, 3), "2020 20 53"},   {Fields(2021, 1, 4), "2021 21 01"},
      {Fields(2024, 12, 29), "2024 24 52"}, {Fields(2024, 12, 30), "2025 25 01"},
      {Fields(2027, 1, 1), "2026 26 53"},   {Fields(2005, 1, 1), "2004 04 53"},
      {Fields(2009, 12, 31), "2009 09 53"}, {Fields(2012, 1, 1), "2011 11 52"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatCalendar("%G %g %V", c.fields, 0), c.text);
}

}  // namespace
}  // namespace du::internal
