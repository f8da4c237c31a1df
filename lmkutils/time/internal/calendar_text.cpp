#include "lmkutils/time/internal/calendar_text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"

namespace du::internal {
namespace {

std::int64_t YearOf(const std::tm& fields) noexcept {
  return std::int64_t{fields.tm_year} + 1900;
}

int DaysSinceMonday(const std::tm& fields) noexcept {
  return (fields.tm_wday + 6) % 7;
}

struct IsoWeek {
  std::int64_t year;
  int week;  // 1..53
};

// ISO 8601: a week belongs to the year in which its Thursday lies.
IsoWeek IsoWeekOf(const std::tm& fields) noexcept {
  const int thursday = fields.tm_yday - DaysSinceMonday(fields) + 3;
  const std::int64_t year = YearOf(fields);
  if (thursday < 0) return {year - 1, (thursday + (IsLeapYear(year - 1) ? 366 : 365)) / 7 + 1};
  const int days = IsLeapYear(year) ? 366 : 365;
  return thursday >= days ? IsoWeek{year + 1, 1} : IsoWeek{year, thursday / 7 + 1};
}

std::int64_t YearOfCentury(std::int64_t year) noexcept {
  return year - FloorDiv(year, 100) * 100;
}

struct NumberItem {
  char specifier;
  unsigned char width;  // at least so many characters
  char fill;
  std::int64_t (*value)(const std::tm& fields);
};

constexpr NumberItem kNumbers[] = {
    {'C', 2, '0', [](const std::tm& t) { return FloorDiv(YearOf(t), 100); }},
    {'d', 2, '0', [](const std::tm& t) { return std::int64_t{t.tm_mday}; }},
    {'e', 2, ' ', [](const std::tm& t) { return std::int64_t{t.tm_mday}; }},
    {'G', 4, '0', [](const std::tm& t) { return IsoWeekOf(t).year; }},
    {'g', 2, '0', [](const std::tm& t) { return YearOfCentury(IsoWeekOf(t).year); }},
    {'H', 2, '0', [](const std::tm& t) { return std::int64_t{t.tm_hour}; }},
    {'I', 2, '0', [](const std::tm& t) { return std::int64_t{(t.tm_hour + 11) % 12 + 1}; }},
    {'j', 3, '0', [](const std::tm& t) { return std::int64_t{t.tm_yday + 1}; }},
    {'M', 2, '0', [](const std::tm& t) { return std::int64_t{t.tm_min}; }},
    {'m', 2, '0', [](const std::tm& t) { return std::int64_t{t.tm_mon + 1}; }},
    {'S', 2, '0', [](const std::tm& t) { return std::int64_t{t.tm_sec}; }},
    {'U', 2, '0', [](const std::tm& t) { return std::int64_t{(t.tm_yday + 7 - t.tm_wday) / 7}; }},
    {'u', 1, '0', [](const std::tm& t) { return std::int64_t{DaysSinceMonday(t) + 1}; }},
    {'V', 2, '0', [](const std::tm& t) { return std::int64_t{IsoWeekOf(t).week}; }},
    {'W', 2, '0', [](const std::tm& t) { return std::int64_t{(t.tm_yday + 7 - DaysSinceMonday(t)) / 7}; }},
    {'w', 1, '0', [](const std::tm& t) { return std::int64_t{t.tm_wday}; }},
    {'Y', 4, '0', YearOf},
    {'y', 2, '0', [](const std::tm& t) { return YearOfCentury(YearOf(t)); }},
};

struct CombinedItem {
  char specifier;
  std::string_view format;
};

constexpr CombinedItem kCombined[] = {
    {'%', "%"},        {'n', "\n"},    {'t', "\t"},          {'D', "%m/%d/%y"},
    {'F', "%Y-%m-%d"}, {'R', "%H:%M"}, {'r', "%I:%M:%S %p"}, {'T', "%H:%M:%S"},
};

constexpr std::string_view kNames = "aAbBcphxXZ";

// The sign counts as one of the `width` characters.
void AppendNumber(std::string& text, std::int64_t value, std::size_t width, char fill) {
  const std::string digits = std::to_string(value < 0 ? -value : value);
  if (value < 0) text += '-';
  const std::size_t used = digits.size() + (value < 0 ? 1 : 0);
  if (used < width) text.append(width - used, fill);
  text += digits;
}

class Writer {
 public:
  Writer(const std::tm& fields, std::int64_t offset) noexcept : fields_(fields), offset_(offset) {}

  void Format(std::string_view format);
  std::string Take() noexcept { return std::move(text_); }

 private:
  // False, and nothing written, when there is no such conversion.
  bool Convert(char specifier);
  void Zone();

  const std::tm& fields_;
  std::int64_t offset_;
  std::string text_;
};

void Writer::Format(std::string_view format) {
  for (std::size_t at = 0; at < format.size(); ++at) {
    std::size_t end = at + 1;
    if (end < format.size() && (format[end] == 'E' || format[end] == 'O')) ++end;
    if (format[at] == '%' && end < format.size() && Convert(format[end])) {
      at = end;
    } else {
      text_ += format[at];
    }
  }
}

bool Writer::Convert(char specifier) {
  const auto isIt = [=](const auto& item) { return item.specifier == specifier; };
  if (const auto* item = std::ranges::find_if(kNumbers, isIt); item != std::end(kNumbers)) {
    AppendNumber(text_, item->value(fields_), item->width, item->fill);
  } else if (const auto* combined = std::ranges::find_if(kCombined, isIt); combined != std::end(kCombined)) {
    Format(combined->format);
  } else if (specifier == 'z') {
    Zone();
  } else if (kNames.find(specifier) != kNames.npos) {
    char name[512];
    text_.append(name,
                 os::FormatCalendarItem(specifier == 'h' ? 'b' : specifier, fields_, name, sizeof name));
  } else {
    return false;
  }
  return true;
}

void Writer::Zone() {
  const std::int64_t minutes = (offset_ < 0 ? -offset_ : offset_) / 60;
  text_ += offset_ < 0 ? '-' : '+';
  AppendNumber(text_, minutes / 60 * 100 + minutes % 60, 4, '0');
}

}  // namespace

std::string FormatCalendar(std::string_view format, const std::tm& fields, std::int64_t offset) {
  Writer writer(fields, offset);
  writer.Format(format);
  return writer.Take();
}

}  // namespace du::internal
