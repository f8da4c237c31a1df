#ifndef LMKUTILS_BENCH_MESSAGES_CORPUS_H
#define LMKUTILS_BENCH_MESSAGES_CORPUS_H

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

inline constexpr int kMessageCount = 5000;

// A message of an application: its tag and its text with the arguments {0} and {1}.
struct Message {
  std::string tag;
  std::string text;
};

// The same messages in every process.
std::vector<Message> MakeMessages();

// A shuffled order in which to visit them.
std::vector<std::uint32_t> MakeOrder();

// The text with each argument written as `argument` writes it: "%1" or "%1$s" in place of "{0}".
std::string WithArguments(const std::string& text, const std::string& first, const std::string& second);

}  // namespace bench

#endif
