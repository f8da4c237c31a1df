// The standard library's clocks and calendar, and digits written by hand as the floor.
#include <chrono>
#include <cstdio>

#include "bench/time/rows.h"

namespace bench {
namespace {

template <bool kLocal>
struct Strftime {
  static void Print(std::ostream& out, std::int64_t milliseconds) {
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts;
    if (kLocal) {
      localtime_r(&seconds, &parts);
    } else {
      gmtime_r(&seconds, &parts);
    }
    char time[32], date[32], text[80];
    std::strftime(time, sizeof(time), "%H:%M:%S", &parts);
    std::strftime(date, sizeof(date), "%d %b %Y", &parts);
    const int length =
        std::snprintf(text, sizeof(text), "%s.%03d  %s", time, static_cast<int>(milliseconds % 1000), date);
    out.write(text, length);
  }
};

char* TwoDigits(char* at, unsigned value) {
  *at++ = static_cast<char>('0' + value / 10);
  *at++ = static_cast<char>('0' + value % 10);
  return at;
}

// Days since 1970 to the proleptic Gregorian calendar by Hinnant's "civil_from_days"; UTC only, years 1970 to
// 9999.
struct ByHand {
  static void Print(std::ostream& out, std::int64_t milliseconds) {
    const auto ms = static_cast<std::uint64_t>(milliseconds);
    const auto seconds = static_cast<unsigned>(ms / 1000 % 86400);
    const auto days = static_cast<unsigned>(ms / 86'400'000) + 719468;
    const unsigned era = days / 146097, ofEra = days % 146097;
    const unsigned yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const unsigned ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned shifted = (5 * ofYear + 2) / 153;
    const unsigned month = shifted < 10 ? shifted + 3 : shifted - 9;
    const unsigned year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    char text[40];
    char* at = TwoDigits(text, seconds / 3600);
    *at++ = ':';
    at = TwoDigits(at, seconds / 60 % 60);
    *at++ = ':';
    at = TwoDigits(at, seconds % 60);
    *at++ = '.';
    const auto fraction = static_cast<unsigned>(ms % 1000);
    *at++ = static_cast<char>('0' + fraction / 100);
    at = TwoDigits(at, fraction % 100);
    *at++ = ' ';
    *at++ = ' ';
    at = TwoDigits(at, ofYear - (153 * shifted + 2) / 5 + 1);
    *at++ = ' ';
    const char* name = &"JanFebMarAprMayJunJulAugSepOctNovDec"[3 * (month - 1)];
    for (int i = 0; i < 3; ++i) *at++ = name[i];
    *at++ = ' ';
    at = TwoDigits(TwoDigits(at, year / 100), year % 100);
    out.write(text, at - text);
  }
};

template <class Clock>
void Milliseconds(benchmark::State& state) {
  for (auto _ : state) {
    const auto now = Clock::now().time_since_epoch();
    benchmark::DoNotOptimize(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  }
}

void Elapsed(benchmark::State& state) {
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    const auto passed = std::chrono::steady_clock::now() - start;
    benchmark::DoNotOptimize(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
  }
}

// What the calendars all share: the stream is rewound and some bytes of that length are written.
struct WriteOnly {
  static void Print(std::ostream& out, std::int64_t) { out.write("09:05:07.042  03 Jan 2020", 25); }
};

bool Register() {
  AddInstantRows<Strftime<false>>("UTC", "strftime and snprintf");
  AddInstantRows<Strftime<true>>("local", "strftime and snprintf");
  AddInstantRows<ByHand>("UTC", std::string(kFloor) + "digits by hand");
  AddInstantRows<WriteOnly>("local", std::string(kFloor) + "write to the stream");
  AddSingle(kClock, "std::chrono::system_clock", Milliseconds<std::chrono::system_clock>);
  AddSingle(kTimer, "std::chrono::steady_clock", Elapsed);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
