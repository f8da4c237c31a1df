// A second, plain line reader over bytes in memory, to compare du::LineReader with: one unit at a time,
// nothing clever.
#ifndef LMKUTILS_FILES_TESTING_REFERENCE_LINES_H
#define LMKUTILS_FILES_TESTING_REFERENCE_LINES_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "lmkutils/text/encoding.h"

namespace lmktest {

class ReferenceLines {
 public:
  ReferenceLines(const std::string& bytes, int limit)
      : bytes_(limit > 0 ? bytes.substr(0, static_cast<std::size_t>(limit)) : bytes) {}

  // What stands in the buffer after the call, UTF-16 in the machine's order; nothing when there is no line.
  std::optional<std::string> ReadLine() {
    if (!started_) FindMark();
    started_ = true;
    start_ = at_;
    std::u16string units;
    while (at_ + Width() <= bytes_.size()) {
      const char16_t unit = Unit(at_);
      at_ += Width();
      if (unit != u'\n') {
        units += unit;
        continue;
      }
      if (!units.empty() && units.back() == u'\r') units.pop_back();
      return Stored(units);
    }
    if (units.empty()) return std::nullopt;
    return Stored(units);
  }

  std::string ReadBinary(std::size_t count) {
    std::string read = bytes_.substr(at_, count);
    at_ += read.size();
    started_ = started_ || !read.empty();
    return read;
  }

  void SeekToBufferStart() { at_ = start_.value_or(at_); }

  bool IsUtf16() const { return big_.has_value(); }
  std::string String(const std::string& stored) const {
    if (!IsUtf16()) return stored;
    std::u16string units(stored.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
      units[i] = static_cast<char16_t>(Byte(stored, 2 * i) | Byte(stored, 2 * i + 1) << 8);
    }
    return du::ToUtf8(units);
  }

 private:
  static int Byte(const std::string& text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

  std::size_t Width() const { return IsUtf16() ? 2 : 1; }
  char16_t Unit(std::size_t at) const {
    if (!IsUtf16()) return static_cast<char16_t>(Byte(bytes_, at));
    const int first = Byte(bytes_, at), second = Byte(bytes_, at + 1);
    return static_cast<char16_t>(*big_ ? first << 8 | second : second << 8 | first);
  }
  std::string Stored(const std::u16string& units) const {
    std::string stored;
    for (const char16_t unit : units) {
      stored += static_cast<char>(unit & 0xFF);
      if (IsUtf16()) stored += static_cast<char>(unit >> 8);
    }
    return stored;
  }
  void FindMark() {
    if (bytes_.size() < 4) return;
    if (bytes_.starts_with("\xEF\xBB\xBF")) at_ = 3;
    if (bytes_.starts_with("\xFE\xFF")) big_ = true;
    if (bytes_.starts_with("\xFF\xFE")) big_ = false;
    if (IsUtf16()) at_ = 2;
  }

  const std::string bytes_;
  std::size_t at_ = 0;
  bool started_ = false;
  std::optional<bool> big_;  // the order of UTF-16; nothing for bytes
  std::optional<std::size_t> start_;
};

}  // namespace lmktest

#endif
