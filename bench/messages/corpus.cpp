#include "bench/messages/corpus.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <random>

namespace bench {
namespace {

constexpr std::array kVerbs{"Cannot open", "Loading",  "Saved",    "Cannot convert",
                            "Measured",    "Searched", "Replaced", "Permission denied for"};
constexpr std::array kThings{"the file {0} in the project {1}.", "{0} of {1} parts.",
                             "the assembly \"{0}\" because {1} is missing.",
                             "{0}: the value must be less than {1}.",
                             "the surface {0}, which lies outside the region {1} of the model."};

}  // namespace

std::vector<Message> MakeMessages() {
  std::mt19937 random(5);
  std::vector<Message> messages;
  messages.reserve(kMessageCount);
  for (int i = 0; i < kMessageCount; ++i) {
    const std::string number = std::to_string(i);
    const std::string verb = kVerbs[random() % kVerbs.size()];
    const std::string thing = kThings[random() % kThings.size()];
    messages.push_back({"MSG_" + std::to_string(random() % 90 + 10) + "_STATE_OF_PART_" + number,
                        "(" + number + ") " + verb + " " + thing});
  }
  return messages;
}

std::vector<std::uint32_t> MakeOrder() {
  std::vector<std::uint32_t> order(kMessageCount);
  std::iota(order.begin(), order.end(), 0u);
  std::shuffle(order.begin(), order.end(), std::mt19937(6));
  return order;
}

std::string WithArguments(const std::string& text, const std::string& first, const std::string& second) {
  std::string replaced = text;
  replaced.replace(replaced.find("{0}"), 3, first);
  replaced.replace(replaced.find("{1}"), 3, second);
  return replaced;
}

}  // namespace bench
