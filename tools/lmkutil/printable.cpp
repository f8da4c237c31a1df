#include "tools/lmkutil/printable.h"

#include <algorithm>

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

// The upper ones (C1) are commands to many terminals as well.
bool IsControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

}  // namespace

std::u32string PrintableCharacters(std::string_view text, char32_t substitute) {
  std::u32string printable = du::ToUtf32(text);
  std::replace_if(printable.begin(), printable.end(), IsControl, substitute);
  return printable;
}

std::string Printable(std::string_view text) {
  return du::ToUtf8(PrintableCharacters(text, U'?'));
}

}  // namespace lmkutil
