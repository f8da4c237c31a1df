#include "bench/symbol/texts.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <random>
#include <unordered_set>

namespace bench {
namespace {

constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz012345";

std::unique_ptr<Texts> MakeTexts(std::size_t length, std::size_t count) {
  std::mt19937_64 random(length * 31 + count);
  auto made = std::make_unique<Texts>();
  std::unordered_set<std::string> seen;
  made->texts.reserve(count);
  while (made->texts.size() < count) {
    std::string text(length, ' ');
    for (char& c : text) c = kLetters[random() % 32];
    if (seen.insert(text).second) made->texts.push_back(std::move(text));
  }
  made->order.resize(count);
  std::iota(made->order.begin(), made->order.end(), 0u);
  std::shuffle(made->order.begin(), made->order.end(), random);
  made->visited.reserve(count);
  for (const auto i : made->order) made->visited.push_back(made->texts[i]);
  return made;
}

}  // namespace

const Texts& SomeTexts(std::size_t length, std::size_t count) {
  static std::mutex mutex;
  static std::map<std::pair<std::size_t, std::size_t>, std::unique_ptr<Texts>> all;
  const std::lock_guard lock(mutex);
  auto& texts = all[{length, count}];
  if (!texts) texts = MakeTexts(length, count);
  return *texts;
}

FreshTexts::FreshTexts(std::size_t length, unsigned stream) : text_(length, 'x') {
  text_[0] = static_cast<char>('A' + stream % 26);  // SomeTexts has no capital letters
}

const std::string& FreshTexts::Next() {
  // The counter stands in the last seven bytes, as what distinguishes names mostly stands at their end.
  std::uint64_t rest = ++counter_;
  for (std::size_t i = text_.size() - 1; i > text_.size() - 8; --i, rest /= 32)
    text_[i] = kLetters[rest % 32];
  return text_;
}

}  // namespace bench
