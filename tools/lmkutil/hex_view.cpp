#include "tools/lmkutil/hex_view.h"

namespace lmkutil {
namespace {

constexpr std::size_t kWidth = 16;

std::string Line(std::uint64_t offset, std::string_view bytes) {
  std::string line = "  " + Hexadecimal(offset, 8) + " ";
  std::string characters;
  for (std::size_t i = 0; i < kWidth; ++i) {
    if (i == kWidth / 2) line += ' ';
    if (i < bytes.size()) {
      const auto byte = static_cast<unsigned char>(bytes[i]);
      line += ' ' + Hexadecimal(byte, 2);
      characters += byte >= 0x20 && byte < 0x7F ? bytes[i] : '.';
    } else {
      line += "   ";
    }
  }
  return line + "  " + characters + '\n';
}

}  // namespace

std::string Hexadecimal(std::uint64_t number, std::size_t digits) {
  std::string text;
  while (number != 0 || text.size() < digits) {
    text.insert(text.begin(), "0123456789ABCDEF"[number & 15]);
    number >>= 4;
  }
  return text;
}

std::string HexView::Lines(std::string_view bytes) {
  rest_ += bytes;
  std::string lines;
  std::size_t at = 0;
  for (; rest_.size() - at >= kWidth; at += kWidth, offset_ += kWidth) {
    lines += Line(offset_, std::string_view(rest_).substr(at, kWidth));
  }
  rest_.erase(0, at);
  return lines;
}

std::string HexView::LastLine() {
  return rest_.empty() ? "" : Line(offset_, rest_);
}

}  // namespace lmkutil
