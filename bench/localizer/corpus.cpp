#include "bench/messages/corpus.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <random>

namespace bench {
namespace {

constexpr std::array kPlain{
    "The end of the file was reached.", "Out of memory.", "The name of the part is empty.",
    "Select the kind of measurement, then two of the edges.", "Ready, none of 12 failed."};
constexpr std::array kFilled{"the file {0} in the project {1}.", "{0} of {1} parts.",
                             "the assembly \"{0}\" because {1} is missing.",
                             "{0}: the value must be less than {1}."};

}  // namespace

// Every second one takes arguments.
std::vector<Message> MakeMessages() {
  std::mt19937 random(7);
  std::vector<Message> messages;
  messages.reserve(kMessageCount);
  for (int i = 0; i < kMessageCount; ++i) {
    const std::string number = std::to_string(i);
    const std::string text = i % 2 == 0 ? " of " + std::string(kPlain[random() % kPlain.size()])
                                        : kFilled[random() % kFilled.size()];
    messages.push_back({"MSG_" + std::to_string(random() % 90 + 10) + "_STATE_OF_PART_" + number,
                        "(" + number + ") " + text});
  }
  return messages;
}

std::vector<std::uint32_t> MakeOrder() {
  std::vector<std::uint32_t> order(kMessageCount);
  std::iota(order.begin(), order.end(), 0u);
  std::shuffle(order.begin(), order.end(), std::mt19937(8));
  return order;
}

std::string WithArguments(const std::string& text, const std::string& first, const std::string& second) {
  std::string replaced = text;
  for (const auto& [placeholder, argument] : {std::pair("{0}", first), std::pair("{1}", second)}) {
    const std::size_t at = replaced.find(placeholder);
    if (at != std::string::npos) replaced.replace(at, 3, argument);
  }
  return replaced;
}

}  // namespace bench
