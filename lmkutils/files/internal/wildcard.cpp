#include "lmkutils/files/internal/wildcard.h"

#include <cstddef>

namespace du::internal {
namespace {

// Bytes of the character at the start of `text`, which is not empty.
std::size_t CharacterLength(std::string_view text) noexcept {
  std::size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) ++length;
  return length;
}

}  // namespace

// Only the last '*' is ever tried again: what an earlier one could still give, that one can give as well.
bool MatchesWildcards(std::string_view pattern, std::string_view name) noexcept {
  std::string_view patternBehindStar;
  std::string_view nameAtStar;
  bool starSeen = false;
  while (!name.empty()) {
    if (pattern.starts_with('*')) {
      pattern.remove_prefix(1);
      starSeen = true;
      patternBehindStar = pattern;
      nameAtStar = name;
    } else if (pattern.starts_with('?')) {
      pattern.remove_prefix(1);
      name.remove_prefix(CharacterLength(name));
    } else if (!pattern.empty() && pattern.front() == name.front()) {
      pattern.remove_prefix(1);
      name.remove_prefix(1);
    } else if (starSeen) {
      nameAtStar.remove_prefix(CharacterLength(nameAtStar));
      pattern = patternBehindStar;
      name = nameAtStar;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*') == std::string_view::npos;
}

}  // namespace du::internal
