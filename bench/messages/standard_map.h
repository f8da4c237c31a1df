#ifndef LMKUTILS_BENCH_MESSAGES_STANDARD_MAP_H
#define LMKUTILS_BENCH_MESSAGES_STANDARD_MAP_H

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace bench {

// Finds by any kind of text without making a string of it.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

using MessageMap = std::unordered_map<std::string, std::string, TextHash, std::equal_to<>>;

// The messages of messages.lmtrb.
MessageMap LoadMap();

}  // namespace bench

#endif
