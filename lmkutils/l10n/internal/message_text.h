// The inside of one message: its escapes and its placeholders. The format is in docs/string-resources.md.
#ifndef LMKUTILS_L10N_INTERNAL_MESSAGE_TEXT_H
#define LMKUTILS_L10N_INTERNAL_MESSAGE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace du::internal {

// A piece of literal text and the argument that follows it.
struct Segment {
  std::uint32_t start = 0;     // offset of the literal piece in the text, bytes
  std::int32_t length = 0;     // of the literal piece, bytes
  std::int32_t argument = -1;  // number of the argument written after the piece; -1 for none

  bool operator==(const Segment&) const = default;
};

// The longest text that segments can describe.
inline constexpr std::size_t kMaxTextLength = 0x7FFFFFFF;

// Undoes the escapes of `text` in place and returns its new length, which is never more.
std::size_t Unescape(char* text, std::size_t length) noexcept;

// Appends the segments of an unescaped text, at least one, and returns how many arguments it takes. A number
// too large to be counted gives 0x7FFFFFFF arguments. `text` is at most kMaxTextLength bytes long.
std::int32_t CutAtPlaceholders(std::string_view text, std::vector<Segment>& segments);

}  // namespace du::internal

#endif
