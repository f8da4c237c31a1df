#include "lmkutils/trace/printf_formatter.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "lmkutils/trace/trace_formatter.h"

namespace {

const std::string kUnrecognised = "<unrecognised format string>";

// The text of a record that Format filled; "<false>" when it refused.
std::string Format(const char* format, ...) {
  dp::TraceFormatter record(0, dp::TraceType::Info, 0, 0, "k", "s");
  record.DontBroadCast();
  std::va_list args;
  va_start(args, format);
  const bool done = record.Format(format, args);
  va_end(args);
  return done ? record.GetMesg() : "<false>";
}

// Each conversion prints what the run-time prints for the whole format.
#define EXPECT_AS_RUN_TIME(...)                            \
  do {                                                     \
    char expected[512];                                    \
    std::snprintf(expected, sizeof expected, __VA_ARGS__); \
    EXPECT_EQ(std::string(expected), Format(__VA_ARGS__)); \
  } while (false)

TEST(PrintfFormatter, ConversionsPrintAsTheRunTimeDoes) {
  EXPECT_AS_RUN_TIME("plain, 100%% [%s] tail", "text");
  EXPECT_AS_RUN_TIME("%d %i %u %x %X %o", INT_MIN, -1, UINT_MAX, 0xABCDEFU, 0xABCDEFU, 0755U);
  EXPECT_AS_RUN_TIME("%ld %lu %lld %llu %lli %llx", LONG_MIN, ULONG_MAX, LLONG_MIN, ULLONG_MAX, -1LL,
                     0xFEDCBA98ULL << 20);
  EXPECT_AS_RUN_TIME("%e %E %f %F %g %G %lf", 1.5, -2.5e10, 3.25, 4.0, 1e-10, 1e20, 0.1);
  EXPECT_AS_RUN_TIME("[%5d|%-5d|%05d|%+d|% d|%#x|%#o|%+.3e|%#.0f]", 42, 42, 42, 42, 42, 255U, 8U, 12345.678,
                     3.0);
  EXPECT_AS_RUN_TIME("[%8.3s|%-8s|%.2s|%c%c]", "abcdef", "ab", "xyz", 'a', 'b');
  EXPECT_AS_RUN_TIME("[%*d|%-*d|%*d|%.*f|%.*f|%*.*s]", 6, 1, 6, 2, -6, 3, 2, 1.2345, -1, 1.5, 5, 2, "abc");
  EXPECT_AS_RUN_TIME("%ls %lc %p", L"wide", static_cast<std::wint_t>(L'w'), static_cast<const void*>("x"));
  EXPECT_AS_RUN_TIME("%.0d|%5.3d|%.20d", 0, 7, 9);
  EXPECT_EQ("-2 65535 2345| -2", Format("%hd %hu %hx|%3hd", 0x1FFFE, 0x1FFFFU, 0x12345U, 0x1FFFE));
}

TEST(PrintfFormatter, UnrecognisedConversionsAreReplacedAndTakeNoArgument) {
  const struct {
    const char* format;
    std::string expected;
  } cases[] = {
      {"%n|%d", kUnrecognised + "|7"},
      {"%y%d%%", kUnrecognised + "7%"},
      {"%a %A %Lf", kUnrecognised + " " + kUnrecognised + " " + kUnrecognised + "f"},
      {"%hhd %zu %jd %td %I64d", kUnrecognised + "d " + kUnrecognised + "u " + kUnrecognised + "d " +
                                     kUnrecognised + "d " + kUnrecognised + "64d"},
      {"%llln", kUnrecognised + "n"},
      {"%5.2q%d", kUnrecognised + "7"},
      {"%", kUnrecognised},
      {"%d%", "7" + kUnrecognised},
      {"%5", kUnrecognised},
      {"%-+ #0", kUnrecognised},
      {"%.", kUnrecognised},
      {"%ll", kUnrecognised},
      {"%5%d", kUnrecognised + "7"},  // the second '%' starts a conversion of its own
      {"%\x80", kUnrecognised},
      {"", ""},
      {"no conversion", "no conversion"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.expected, Format(c.format, 7, 8, 9, 10)) << c.format;
  EXPECT_EQ(kUnrecognised + "9", Format("%*y%d", 5, 9)) << "a star takes its argument all the same";
  EXPECT_EQ("<false>", Format(nullptr));
}

TEST(PrintfFormatter, NullTextsAreNamed) {
  EXPECT_EQ("(null)|  (null)|(nu",
            Format("%s|%8s|%.3s", static_cast<const char*>(nullptr), static_cast<const char*>(nullptr),
                   static_cast<const char*>(nullptr)));
  EXPECT_EQ("(null)", Format("%ls", static_cast<const wchar_t*>(nullptr)));
}

TEST(PrintfFormatter, HugeNumbersNeitherFailNorGrowPastTheBuffer) {
  EXPECT_EQ(std::string(4095, ' '), Format("%5000d", 1));
  EXPECT_EQ("1" + std::string(4094, ' '), Format("%-*d", INT_MAX, 1));
  EXPECT_EQ("1" + std::string(4094, ' '), Format("%*d", INT_MIN, 1));
  EXPECT_EQ("0." + std::string(4093, '0'), Format("%.2000000000f", 0.0));
  EXPECT_EQ(std::string(4095, '0'), Format("%.*d", INT_MAX, 1));
  // A specification longer than its buffer is not recognised; its argument is taken.
  EXPECT_EQ(kUnrecognised + " 2", Format(("%" + std::string(5000, '1') + "d %d").c_str(), 1, 2));
  EXPECT_EQ(kUnrecognised + " two", Format(("%" + std::string(5000, '-') + "s %s").c_str(), "one", "two"));
}

TEST(PrintfFormatter, LongArgumentsAreCutAtACharacter) {
  const std::string longText(5000, 'x');
  EXPECT_EQ(longText.substr(0, 4095) + "!", Format("%s!", longText.c_str()));
  EXPECT_EQ(longText.substr(0, 4095) + "!", Format("%-1s!", longText.c_str()));
  const std::string euro = "\xE2\x82\xAC";
  for (const std::size_t lead : {4092U, 4093U, 4094U, 4095U}) {
    const std::string prefix(lead, 'x');
    const std::string expected = lead == 4092 ? prefix + euro : prefix;
    EXPECT_EQ(expected, Format("%s", (prefix + euro).c_str())) << lead;
    EXPECT_EQ(expected, Format("%-1s", (prefix + euro).c_str())) << lead;
  }
  EXPECT_EQ(longText.substr(0, 4094) + "\xFF",
            Format("%s", (longText.substr(0, 4094) + "\xFF\x80").c_str()).substr(0, 4095));
}

// Walks a format with a small buffer of its own.
std::string Walk(const char* format, std::size_t size, ...) {
  std::va_list args;
  va_start(args, size);
  dp::PrintfFormatter formatter(format, size);
  std::string text;
  while (formatter.SkipToNextFormat()) {
    text.append(formatter.TextBegin(), formatter.TextEnd());
    if (formatter.ProcessFormatSequence(args))
      text.append(formatter.FormattedArgBegin(), formatter.FormattedArgEnd());
  }
  text.append(formatter.TextBegin(), formatter.TextEnd());
  EXPECT_FALSE(formatter.ProcessFormatSequence(args)) << "at the end of the format";
  va_end(args);
  return text;
}

TEST(PrintfFormatter, BufferOfAnySize) {
  EXPECT_EQ("a123 tex.", Walk("a%d %s.", 4, 12345, "text"));
  EXPECT_EQ("a.", Walk("a%d%s.", 0, 12345, "text"));
  EXPECT_EQ(std::string(9999, '7'), Walk("%s", 10000, std::string(12000, '7').c_str()));
  EXPECT_EQ(std::string(4096, '0'), Walk("%.9000d", 10000, 0));
}

}  // namespace
