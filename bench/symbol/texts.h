#ifndef LMKUTILS_BENCH_SYMBOL_TEXTS_H
#define LMKUTILS_BENCH_SYMBOL_TEXTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Distinct random texts of one length.
struct Texts {
  std::vector<std::string> texts;
  // The same in the order in which they are visited, which is another one, and copied in that order: a text
  // is in the cache when its turn comes, as one that a program has just read or put together. What the
  // contenders keep of it is not.
  std::vector<std::string> visited;
  std::vector<std::uint32_t> order;  // visited[i] is texts[order[i]]
};

// Made on first use and kept to the end of the process; any thread.
const Texts& SomeTexts(std::size_t length, std::size_t count);

// Texts of one length, each different from all before it and from all of SomeTexts.
class FreshTexts {
 public:
  // Two sources of different `stream` never give the same text.
  FreshTexts(std::size_t length, unsigned stream);
  const std::string& Next();

 private:
  std::string text_;
  std::uint64_t counter_ = 0;
};

inline constexpr std::array<std::size_t, 3> kLengths{8, 32, 128};
inline constexpr std::array<std::pair<std::size_t, const char*>, 3> kCounts{
    {{1'000, "1 thousand"}, {100'000, "100 thousand"}, {1'000'000, "1 million"}}};

}  // namespace bench

#endif
