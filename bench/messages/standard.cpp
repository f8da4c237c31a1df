// What one writes by hand: the lines of the file in a std::unordered_map.
#include <fstream>
#include <string_view>
#include <unordered_map>

#include "bench/messages/rows.h"
#include "bench/messages/standard_map.h"

namespace bench {
namespace {

std::string Unescaped(std::string_view value) {
  std::string text;
  text.reserve(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

void Load(benchmark::State& state) {
  for (auto _ : state) {
    const MessageMap map = LoadMap();
    benchmark::DoNotOptimize(&map);
  }
}

const bool registered = (AddSingle(kLoad, "std::unordered_map", Load), true);

}  // namespace

// Knows two of the escapes, no comments and no errors, and leaves the arguments for later: less work than
// ours.
MessageMap LoadMap() {
  MessageMap map;
  std::ifstream file(MessageFile("messages.lmtrb"));
  std::string line;
  while (std::getline(file, line)) {
    const std::string_view text = line;
    const std::size_t dot = text.find('.');
    const std::size_t equals = text.find('=', dot);
    if (text.substr(dot + 1, equals - dot - 1) != "value") continue;
    map.emplace(text.substr(0, dot), Unescaped(text.substr(equals + 1)));
  }
  return map;
}

}  // namespace bench
