// The time in a record.
#ifndef LMKUTILS_TRACE_INTERNAL_RECORD_TIME_H
#define LMKUTILS_TRACE_INTERNAL_RECORD_TIME_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "lmkutils/time/internal/instant_text.h"

namespace dp::internal {

// Writes instants as du::LocalTimeVal or du::UtcTimeVal prints them. Records come many a second, so the text
// of the last second is kept and only its milliseconds are written anew. Owned by one consumer.
class RecordTime {
 public:
  static constexpr std::size_t kSize = du::internal::kInstantTextSize;
  using Print = char* (*)(std::int64_t milliseconds, char* out) noexcept;

  explicit RecordTime(Print print) noexcept : print_(print) {}

  // `out` has room for kSize characters; returns the text's end.
  char* Write(std::int64_t milliseconds, char* out) noexcept {
    if (size_ == 0 || milliseconds < second_ || milliseconds - second_ >= 1000)
      return WriteNew(milliseconds, out);
    std::memcpy(out, text_.data(), kSize);
    const auto fraction = static_cast<unsigned>(milliseconds - second_);
    out[fraction_] = static_cast<char>('0' + fraction / 100);
    out[fraction_ + 1] = static_cast<char>('0' + fraction / 10 % 10);
    out[fraction_ + 2] = static_cast<char>('0' + fraction % 10);
    return out + size_;
  }

 private:
  // Instants that a run-time's calendar may refuse are not kept: their text has no milliseconds.
  char* WriteNew(std::int64_t milliseconds, char* out) noexcept {
    constexpr std::int64_t kYear3000 = 32503680000000;
    char* const end = print_(milliseconds, out);
    size_ = 0;
    if (milliseconds < 0 || milliseconds >= kYear3000) return end;
    const char* const point = std::find(out, end, '.');
    if (end - point <= 3) return end;
    second_ = milliseconds - milliseconds % 1000;
    fraction_ = static_cast<std::size_t>(point - out) + 1;
    size_ = static_cast<std::size_t>(end - out);
    std::memcpy(text_.data(), out, size_);
    return end;
  }

  const Print print_;
  std::int64_t second_ = 0;   // its first millisecond
  std::size_t size_ = 0;      // 0: nothing is kept
  std::size_t fraction_ = 0;  // where the milliseconds stand
  std::array<char, kSize> text_{};
};

}  // namespace dp::internal

#endif
