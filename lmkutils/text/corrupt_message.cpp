#include "lmkutils/text/corrupt_message.h"

#include <algorithm>
#include <array>

namespace du {
namespace {

// Letters that keep the shape of the plain one, so that the text stays readable; two bytes of UTF-8 or three.
constexpr std::array<std::string_view, 26> kUpper{"Å", "Ɓ", "Ç", "Ð", "É", "Ƒ", "Ĝ", "Ĥ", "Î",
                                                  "Ĵ", "Ķ", "Ļ", "Ṁ", "Ñ", "Ö", "Þ", "Ǫ", "Ŕ",
                                                  "Š", "Ţ", "Û", "Ṽ", "Ŵ", "Ẋ", "Ý", "Ž"};
constexpr std::array<std::string_view, 26> kLower{"á", "ƀ", "ç", "ð", "é", "ƒ", "ĝ", "ĥ", "î",
                                                  "ĵ", "ķ", "ļ", "ɱ", "ñ", "ö", "þ", "ǫ", "ŕ",
                                                  "š", "ţ", "û", "ṽ", "ŵ", "ẋ", "ý", "ž"};

void AppendAccented(std::string& to, char c) {
  if (c >= 'a' && c <= 'z') {
    to += kLower[static_cast<std::size_t>(c - 'a')];
  } else if (c >= 'A' && c <= 'Z') {
    to += kUpper[static_cast<std::size_t>(c - 'A')];
  } else {
    to += c;
  }
}

std::size_t CharacterCount(std::string_view text) {
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isContinuation));
}

// The third by which translations grow, less the two brackets. It begins with a blank so that lines can break
// there.
std::string Padding(std::size_t characters) {
  const std::size_t growth = (characters + 2) / 3;
  return growth <= 2 ? std::string() : " " + std::string(growth - 3, '~');
}

}  // namespace

std::string CorruptMessage(std::string_view message) {
  std::string corrupt;
  corrupt.reserve(message.size() * 2 + message.size() / 3 + 4);
  corrupt += '[';
  for (std::size_t i = 0; i < message.size(); ++i) {
    if (message[i] == '\\' && i + 1 < message.size()) {
      corrupt += message[i++];
      corrupt += message[i];
    } else {
      AppendAccented(corrupt, message[i]);
    }
  }
  corrupt += Padding(CharacterCount(message));
  corrupt += ']';
  return corrupt;
}

}  // namespace du
