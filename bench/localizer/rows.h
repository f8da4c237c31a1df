#ifndef LMKUTILS_BENCH_LOCALIZER_ROWS_H
#define LMKUTILS_BENCH_LOCALIZER_ROWS_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/messages/corpus.h"

// The rows of messages in the user's language, written once for all contenders: 5000 messages, every second
// one with two arguments, in a shuffled order. A contender gives a class with
//   std::string Plain(const char* tag) const
//   std::string Filled(const char* tag, const char* first, const char* second) const
// and, if it loads files, another one whose constructor takes the name of a copy of the messages that nobody
// has asked for yet, with Plain as well. LMK_BENCH_LOCALIZER is the folder with the files.
namespace bench {

inline constexpr char kPlainRow[] = "a message without arguments";
inline constexpr char kFilledRow[] = "a message with 2 arguments";
inline constexpr char kFirstRow[] = "first request of a resource of 5000 messages";
inline constexpr char kFirstArgument[] = "gearbox housing";
inline constexpr char kSecondArgument[] = "plant 7, third revision";
inline constexpr int kFirstRequests = 20;  // each leaves its messages in memory

// The tags with or without arguments in the order in which they are asked for.
inline std::vector<std::string> AskedTags(bool filled) {
  const std::vector<Message> messages = MakeMessages();
  std::vector<std::string> tags;
  for (const std::uint32_t i : MakeOrder()) {
    if ((messages[i].text.find("{1}") != std::string::npos) == filled) tags.push_back(messages[i].tag);
  }
  return tags;
}

inline const std::vector<std::string>& PlainTags() {
  static const auto& tags = *new std::vector<std::string>(AskedTags(false));
  return tags;
}
inline const std::vector<std::string>& FilledTags() {
  static const auto& tags = *new std::vector<std::string>(AskedTags(true));
  return tags;
}

// A file of a contender under another name; the system keeps it once.
inline void LinkFile(const std::string& file, const std::string& link) {
  std::filesystem::create_directories(std::filesystem::path(link).parent_path());
  if (!std::filesystem::exists(link)) std::filesystem::create_hard_link(file, link);
}

template <class Contender>
Contender& TheOnly() {
  static Contender& contender = *new Contender;
  return contender;
}

template <class Contender>
void BuildPlain(benchmark::State& state) {
  const Contender& contender = TheOnly<Contender>();
  const std::vector<std::string>& tags = PlainTags();
  if (contender.Plain(tags[0].c_str()).find(" of ") == std::string::npos) {
    state.SkipWithError("the message was not found");
    return;
  }
  std::size_t next = static_cast<std::size_t>(state.thread_index()) * tags.size() / 2;
  for (auto _ : state) {
    benchmark::DoNotOptimize(contender.Plain(tags[next].c_str()));
    next = next + 1 < tags.size() ? next + 1 : 0;
  }
}

template <class Contender>
void BuildFilled(benchmark::State& state) {
  const Contender& contender = TheOnly<Contender>();
  const std::vector<std::string>& tags = FilledTags();
  const std::string text = contender.Filled(tags[0].c_str(), kFirstArgument, kSecondArgument);
  if (text.find(kFirstArgument) == std::string::npos || text.find(kSecondArgument) == std::string::npos) {
    state.SkipWithError(("the message was not found; got: " + text).c_str());
    return;
  }
  std::size_t next = static_cast<std::size_t>(state.thread_index()) * tags.size() / 2;
  for (auto _ : state) {
    benchmark::DoNotOptimize(contender.Filled(tags[next].c_str(), kFirstArgument, kSecondArgument));
    next = next + 1 < tags.size() ? next + 1 : 0;
  }
}

// `link` makes a copy of the messages under a new name.
template <class Contender>
void RequestFirst(benchmark::State& state, std::string (*link)(int number)) {
  static int number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const std::string name = link(number++);
    const std::string& tag = PlainTags()[0];
    state.ResumeTiming();
    const Contender fresh(name);
    if (fresh.Plain(tag.c_str()).find(" of ") == std::string::npos) state.SkipWithError("not found");
  }
}

template <class Contender>
void AddMessageRows(const std::string& name) {
  AddBoth(kPlainRow, name, BuildPlain<Contender>);
  AddBoth(kFilledRow, name, BuildFilled<Contender>);
}

template <class Contender>
void AddFirstRow(const std::string& name, std::string (*link)(int number)) {
  const auto run = [link](benchmark::State& state) { RequestFirst<Contender>(state, link); };
  AddSingle(kFirstRow, name, run)->Iterations(kFirstRequests);
}

}  // namespace bench

#endif
