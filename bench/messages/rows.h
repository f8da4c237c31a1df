#ifndef LMKUTILS_BENCH_MESSAGES_ROWS_H
#define LMKUTILS_BENCH_MESSAGES_ROWS_H

#include <cstddef>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/messages/corpus.h"
#include "bench/sink.h"

// The rows of messages, written once for all contenders. A contender of the building rows gives a class with
//   a constructor                                     loads the messages
//   void Write(std::ostream&, const char* tag)        writes the message of the tag with kFirst and kSecond
//   std::string Build(const char* tag)                the same as a new string
// LMK_BENCH_MESSAGES is the folder with the files that make_files wrote.
namespace bench {

inline constexpr char kLoad[] = "load 5000 messages from a file";
inline constexpr char kLoadAndWrite[] = "load 5000 messages and write each once with 2 arguments";
inline constexpr char kWrite[] = "find a message and write it with 2 arguments into a stream";
inline constexpr char kBuild[] = "find a message and build it with 2 arguments as a new string";
inline constexpr char kFirst[] = "gearbox housing";
inline constexpr char kSecond[] = "plant 7, third revision";

inline std::string MessageFile(const char* name) {
  return std::string(LMK_BENCH_MESSAGES) + "/" + name;
}

// The tags in the order in which they are asked for.
inline const std::vector<std::string>& AskedTags() {
  static const auto& tags = *new std::vector<std::string>([] {
    const auto messages = MakeMessages();
    std::vector<std::string> asked;
    for (const auto i : MakeOrder()) asked.push_back(messages[i].tag);
    return asked;
  }());
  return tags;
}

template <class Contender>
Contender& Loaded() {
  static Contender& contender = *new Contender;
  return contender;
}

// What a contender that cannot find its messages would measure is not worth printing.
template <class Contender>
bool Answers(benchmark::State& state) {
  const std::string text = Loaded<Contender>().Build(AskedTags()[0].c_str());
  if (text.find(kFirst) != std::string::npos && text.find(kSecond) != std::string::npos) return true;
  state.SkipWithError(("the message was not found; got: " + text).c_str());
  return false;
}

template <class Contender>
void WriteMessage(benchmark::State& state) {
  if (!Answers<Contender>(state)) return;
  auto& contender = Loaded<Contender>();
  const auto& tags = AskedTags();
  Sink out;
  std::size_t next = 0;
  for (auto _ : state) {
    contender.Write(out.Rewound(), tags[next].c_str());
    benchmark::DoNotOptimize(out.Data());
    benchmark::ClobberMemory();
    next = (next + 1) % tags.size();
  }
}

// Whatever a contender leaves for the first look-up of a message is counted here.
template <class Contender>
void LoadAndWriteAll(benchmark::State& state) {
  if (!Answers<Contender>(state)) return;
  Sink out;
  for (auto _ : state) {
    Contender contender;
    for (const std::string& tag : AskedTags()) {
      contender.Write(out.Rewound(), tag.c_str());
      benchmark::DoNotOptimize(out.Data());
      benchmark::ClobberMemory();
    }
  }
}

template <class Contender>
void BuildMessage(benchmark::State& state) {
  if (!Answers<Contender>(state)) return;
  auto& contender = Loaded<Contender>();
  const auto& tags = AskedTags();
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(contender.Build(tags[next].c_str()));
    next = (next + 1) % tags.size();
  }
}

template <class Contender>
void AddMessageRows(const std::string& name) {
  AddSingle(kWrite, name, WriteMessage<Contender>);
  AddSingle(kBuild, name, BuildMessage<Contender>);
}

template <class Contender>
void AddLoadedMessageRows(const std::string& name) {
  AddSingle(kLoadAndWrite, name, LoadAndWriteAll<Contender>);
  AddMessageRows<Contender>(name);
}

}  // namespace bench

#endif
