#include "lmkutils/platform/internal/read_write_state.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using State = dp::internal::ReadWriteState;

// The policy in the words of four separate counters, with the threads that wait at each gate by number.
struct Model {
  unsigned activeReaders = 0;
  bool writerActive = false;
  std::vector<int> waitingReaders;
  std::vector<int> waitingWriters;
};

enum class Hold { kNothing, kRead, kWrite, kBoth, kWaiting };

struct Walk {
  Model model;
  State::Word word = 0;
  std::vector<Hold> holds = std::vector<Hold>(6, Hold::kNothing);
  std::vector<Hold> after = holds;  // what a waiting thread will hold

  std::string Text() const {
    return std::to_string(model.activeReaders) + "/" + std::to_string(model.waitingReaders.size()) + "/" +
           std::to_string(model.writerActive) + "/" + std::to_string(model.waitingWriters.size());
  }
  std::string Packed() const {
    return std::to_string(State::ActiveReaders(word)) + "/" + std::to_string(State::WaitingReaders(word)) +
           "/" + std::to_string(State::WriterActive(word)) + "/" +
           std::to_string(State::WaitingWriters(word));
  }

  void Take(int thread, const State::Step& step, Hold then) {
    word = step.next;
    holds[static_cast<std::size_t>(thread)] = step.wait ? Hold::kWaiting : then;
    after[static_cast<std::size_t>(thread)] = then;
  }
  void Wake(std::vector<int>& gate) {
    const auto thread = static_cast<std::size_t>(gate.front());
    gate.erase(gate.begin());
    holds[thread] = after[thread];
  }

  void BeginRead(int thread) {
    const bool wait = model.writerActive || !model.waitingWriters.empty();
    wait ? model.waitingReaders.push_back(thread) : void(++model.activeReaders);
    Take(thread, State::BeginRead(word), Hold::kRead);
  }
  void EndRead(int thread) {
    const State::Step step = State::EndRead(word);
    Take(thread, step, Hold::kNothing);
    const bool handOff = !model.waitingWriters.empty() && model.activeReaders == 1;
    --model.activeReaders;
    EXPECT_EQ(step.wakeWriter, handOff);
    if (!handOff) return;
    model.writerActive = true;
    Wake(model.waitingWriters);
  }
  void BeginWrite(int thread, bool reads) {
    if (reads) --model.activeReaders;
    const bool wait = model.activeReaders > 0 || model.writerActive;
    wait ? model.waitingWriters.push_back(thread) : void(model.writerActive = true);
    Take(thread, State::BeginWrite(word, reads), reads ? Hold::kBoth : Hold::kWrite);
  }
  void EndWrite(int thread, bool reads) {
    const State::Step step = State::EndWrite(word, reads);
    Take(thread, step, reads ? Hold::kRead : Hold::kNothing);
    if (!model.waitingWriters.empty()) {
      EXPECT_TRUE(step.wakeWriter);
      EXPECT_EQ(step.wakeReaders, 0U);
      EXPECT_EQ(step.wait, reads);
      if (reads) model.waitingReaders.push_back(thread);
      Wake(model.waitingWriters);
      return;
    }
    EXPECT_FALSE(step.wakeWriter || step.wait);
    EXPECT_EQ(step.wakeReaders, model.waitingReaders.size());
    model.writerActive = false;
    model.activeReaders += (reads ? 1 : 0) + static_cast<unsigned>(model.waitingReaders.size());
    while (!model.waitingReaders.empty()) Wake(model.waitingReaders);
  }

  void Move(int thread, unsigned choice) {
    switch (holds[static_cast<std::size_t>(thread)]) {
      case Hold::kNothing:
        choice % 2 == 0 ? BeginRead(thread) : BeginWrite(thread, false);
        break;
      case Hold::kRead:
        choice % 2 == 0 ? EndRead(thread) : BeginWrite(thread, true);
        break;
      case Hold::kWrite:
        EndWrite(thread, false);
        break;
      case Hold::kBoth:
        EndWrite(thread, true);
        break;
      case Hold::kWaiting:
        break;
    }
  }
};

TEST(ReadWriteState, AgreesWithThePolicyInWords) {
  std::minstd_rand random(7);
  Walk walk;
  for (int i = 0; i < 100000; ++i) {
    walk.Move(static_cast<int>(random() % walk.holds.size()), static_cast<unsigned>(random()));
    ASSERT_EQ(walk.Packed(), walk.Text()) << "after move " << i;
    ASSERT_TRUE(State::IsConsistent(walk.word)) << walk.Text();
    ASSERT_EQ(State::MayWrite(walk.word), walk.model.activeReaders == 0 && !walk.model.writerActive);
    ASSERT_EQ(State::MayRead(walk.word), !walk.model.writerActive && walk.model.waitingWriters.empty());
  }
}

// Every reachable state has a thread that can go on: nobody waits for ever once the holders let go.
TEST(ReadWriteState, EndsFreeWhenAllLetGo) {
  std::minstd_rand random(11);
  for (int round = 0; round < 300; ++round) {
    Walk walk;
    for (int i = 0; i < 40; ++i) {
      walk.Move(static_cast<int>(random() % walk.holds.size()), static_cast<unsigned>(random()));
    }
    for (int turn = 0; walk.word != 0; ++turn) {
      ASSERT_LT(turn, 1000) << walk.Text();
      const int thread = turn % static_cast<int>(walk.holds.size());
      if (walk.holds[static_cast<std::size_t>(thread)] != Hold::kNothing) walk.Move(thread, 0);
    }
  }
}

}  // namespace
