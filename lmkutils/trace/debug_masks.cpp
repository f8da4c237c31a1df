#include "lmkutils/trace/internal/debug_masks.h"

#include <charconv>
#include <optional>

namespace dp::internal {
namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::string_view kNameEnds = " \t=";

std::string_view TrimLeft(std::string_view text, std::string_view characters) {
  const std::size_t first = text.find_first_not_of(characters);
  return first == text.npos ? std::string_view() : text.substr(first);
}

std::string_view TrimRight(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

// What a strtoul of 32 bits makes of exactly this text with base 0. Written out, since the one of Linux has
// 64 bits and takes the numbers beyond 32 for something else.
std::optional<std::uint32_t> ParseNumber(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    base = 16;
    text.remove_prefix(2);
  } else if (text.starts_with('0')) {
    base = 8;
  }
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) return std::nullopt;
  if (error == std::errc::result_out_of_range) return 0xFFFFFFFF;
  return negative ? 0U - number : number;
}

bool AddEntry(std::string_view entry, DebugMasks& masks) {
  entry = TrimRight(TrimLeft(entry, kWhiteSpace));
  const std::size_t nameEnd = entry.find_first_of(kNameEnds);
  if (nameEnd == 0 || nameEnd == entry.npos) return false;
  constexpr std::string_view kSeparators = " \t\n\v\f\r=";
  const auto number = ParseNumber(TrimLeft(entry.substr(nameEnd), kSeparators));
  if (!number) return false;
  masks.insert_or_assign(std::string(entry.substr(0, nameEnd)), *number);
  return true;
}

}  // namespace

DebugMasks ParseDebugMasks(std::string_view text) {
  DebugMasks masks;
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!AddEntry(text.substr(0, comma), masks)) return {};
    if (comma == text.npos) return masks;
    text.remove_prefix(comma + 1);
  }
}

}  // namespace dp::internal
