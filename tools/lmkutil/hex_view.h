// Bytes as people read them.
#ifndef LMKUTIL_HEX_VIEW_H
#define LMKUTIL_HEX_VIEW_H

#include <cstdint>
#include <string>
#include <string_view>

namespace lmkutil {

// "0000001F" and the like, with at least so many digits.
std::string Hexadecimal(std::uint64_t number, std::size_t digits);

// Makes lines of 16 bytes: their offset, the bytes, and the characters where they are ASCII. The bytes may
// come in pieces of any size.
class HexView {
 public:
  explicit HexView(std::uint64_t offset) : offset_(offset) {}

  std::string Lines(std::string_view bytes);
  std::string LastLine();  // what is left at the end; "" when nothing is

 private:
  std::uint64_t offset_;
  std::string rest_;
};

}  // namespace lmkutil

#endif
