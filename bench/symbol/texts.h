#ifndef LMKUTILS_BENCH_SYMBOL_TEXTS_H
#define LMKUTILS_BENCH_SYMBOL_TEXTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Distinct random texts of one length and a shuffled order in which to visit them.
struct Texts {
  std::vector<std::string> texts;
  std::vector<std::uint32_t> order;
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
