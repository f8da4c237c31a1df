#include "lmkutils/time/internal/iso8601.h"

#include "lmkutils/time/internal/calendar.h"

namespace du::internal {
namespace {

bool IsDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

// Walks through the text; every function answers whether it found what it names, and has passed it then.
class Reader {
 public:
  explicit Reader(std::string_view text) noexcept : rest_(text) {}

  bool AtEnd() const noexcept { return rest_.empty(); }

  bool OneOf(std::string_view characters) noexcept {
    if (rest_.empty() || characters.find(rest_.front()) == std::string_view::npos) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool AtDigit() const noexcept { return !rest_.empty() && IsDigit(rest_.front()); }

  bool Number(std::size_t digits, unsigned most, unsigned& value) noexcept {
    if (rest_.size() < digits) return false;
    unsigned read = 0;
    for (const char c : rest_.substr(0, digits)) {
      if (!IsDigit(c)) return false;
      read = read * 10 + static_cast<unsigned>(c - '0');
    }
    if (read > most) return false;
    rest_.remove_prefix(digits);
    value = read;
    return true;
  }

  // Decimals after "." or ",", as nine digits of a whole; further digits are dropped.
  bool Fraction(std::int64_t& billionths) noexcept {
    if (!OneOf(".,")) return true;
    if (!AtDigit()) return false;
    billionths = 0;
    for (std::int64_t unit = 100'000'000; AtDigit(); unit /= 10) {
      billionths += (rest_.front() - '0') * unit;
      rest_.remove_prefix(1);
    }
    return true;
  }

 private:
  std::string_view rest_;
};

bool ReadDate(Reader& in, std::int64_t& days) noexcept {
  unsigned year = 0, month = 0, day = 0;
  if (!in.Number(4, 9999, year)) return false;
  const bool isExtended = in.OneOf("-");
  if (!in.Number(2, 12, month) || month == 0) return false;
  if (isExtended && !in.OneOf("-")) return false;
  if (!in.Number(2, DaysInMonth(year, month), day) || day == 0) return false;
  days = DaysFromDate(year, month, day);
  return true;
}

// Up to three parts, each of them a sixtieth of the one before. The decimals of the last are of its own unit.
bool ReadTime(Reader& in, std::int64_t& seconds) noexcept {
  unsigned hour = 0, minute = 0, second = 0;
  std::int64_t unit = 3600, billionths = 0;
  if (!in.Number(2, 24, hour)) return false;
  const bool isExtended = in.OneOf(":");
  if (isExtended || in.AtDigit()) {
    unit = 60;
    if (!in.Number(2, 59, minute)) return false;
    if (isExtended ? in.OneOf(":") : in.AtDigit()) {
      unit = 1;
      if (!in.Number(2, 60, second)) return false;
    }
  }
  if (!in.Fraction(billionths)) return false;
  if (hour == 24 && (minute != 0 || second != 0 || billionths != 0)) return false;
  seconds = hour * 3600 + minute * 60 + second + billionths * unit / 1'000'000'000;
  return true;
}

bool ReadZone(Reader& in, std::int64_t& offset) noexcept {
  offset = 0;
  if (in.AtEnd() || in.OneOf("Zz")) return true;
  const bool isWest = in.OneOf("-");
  unsigned hours = 0, minutes = 0;
  if ((!isWest && !in.OneOf("+")) || !in.Number(2, 23, hours)) return false;
  const bool hasColon = in.OneOf(":");
  if ((hasColon || in.AtDigit()) && !in.Number(2, 59, minutes)) return false;
  const std::int64_t east = hours * 3600 + minutes * 60;
  offset = isWest ? -east : east;
  return true;
}

}  // namespace

std::optional<std::int64_t> ParseISO8601(std::string_view text) noexcept {
  Reader in(text);
  std::int64_t days = 0, seconds = 0, offset = 0;
  if (!ReadDate(in, days)) return std::nullopt;
  if (in.OneOf("Tt") && (!ReadTime(in, seconds) || !ReadZone(in, offset))) return std::nullopt;
  if (!in.AtEnd()) return std::nullopt;
  return days * kSecondsPerDay + seconds - offset;
}

}  // namespace du::internal
