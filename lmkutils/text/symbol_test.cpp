#include "lmkutils/text/symbol.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/testing/fork.h"
#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/trace/lm_trace_controller.h"

namespace {

using du::DualSymbol;
using du::Symbol;

// Constant-initialised, so statics of any file may use it; the symbols are the first of this process.
const bool kEmptyIsThere = Symbol::EMPTY.empty() && DualSymbol::EMPTY.empty();

// Destroyed after the table, since it was constructed before anything asked for one.
struct LateUser {
  ~LateUser();
  std::optional<Symbol> last;
  std::optional<Symbol> shared;
};
LateUser lateUser;

// Made by a static constructor, where a test asks for it.
const Symbol kEarly(std::getenv("LMK_TEST_EARLY_SYMBOL"));

LateUser::~LateUser() {
  if (!last) return;
  const Symbol copy = *shared;  // touches nothing
  shared.reset();
  last.reset();
  try {
    Symbol("too late");
    std::puts("made");
  } catch (const dp::DeadReference& error) {
    std::puts(error.what());
  }
  try {
    Symbol::DumpStats();
    std::puts("reported");
  } catch (const dp::DeadReference& error) {
    std::puts(error.what());
  }
  Symbol nothing("");
  nothing = static_cast<const char*>(nullptr);
  std::puts(nothing.empty() ? "empty" : "full");
  std::fflush(stdout);
}

const lmktest::ChildRole kLateRole("symbol_late", [](const std::vector<std::string>&) {
  lateUser.last = Symbol("only held by a late static");
  lateUser.shared = kEarly;
  return kEarly == "early" && kEmptyIsThere ? 0 : 1;
});

// Threads that go on interning, copying, dropping and reading while the process ends.
const lmktest::ChildRole kRunningRole("symbol_running", [](const std::vector<std::string>&) {
  static const Symbol& shared = *new Symbol("shared by late threads");
  std::thread([] {
    for (;;) {
      const Symbol copy(shared);
      if (std::strcmp("shared by late threads", copy.c_str()) != 0) std::_Exit(3);
    }
  }).detach();
  std::thread([] {
    alignas(Symbol) static std::byte symbols[1000][sizeof(Symbol)];  // never destroyed
    try {
      for (unsigned i = 0;; ++i) ::new (symbols[i % 1000]) Symbol("text" + std::to_string(i % 5000));
    } catch (const dp::DeadReference&) {
    }
  }).detach();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return 0;
});

// The first use of the table, with its n-th allocation failing for every n.
const lmktest::ChildRole kFirstUseRole("symbol_first_use", [](const std::vector<std::string>&) {
  for (std::uint64_t n = 1; n < 100; ++n) {
    const lmktest::Shortage noMemory(lmktest::Memory::kHeap, n, 1);
    try {
      const Symbol symbol("first");
      return symbol == "first" && n > 3 ? 0 : 1;
    } catch (const std::bad_alloc&) {
    }
  }
  return 2;
});

const lmktest::ChildRole kDumpRole("symbol_dump", [](const std::vector<std::string>&) {
  dp::LMTraceController::Instance().Initialize();
  const Symbol one("one");
  Symbol::DumpStats();
  return 0;
});

// One record a line of the report, in its order.
TEST(SymbolProcess, DumpsItsStatisticsThroughTheTracer) {
  const std::string out = lmktest::RunSelf("symbol_dump", {}, {{"LUMORA_TRACE", "stdout"}}).out;
  std::size_t at = 0;
  for (const char* line : {" du Symbol du::Symbol statistics.", " du Symbol Buckets in table           3079.",
                           " du Symbol Elems in Bucket | Number", " du Symbol Totals          |",
                           " du Symbol Relative Uniformity is "}) {
    at = out.find(line, at);
    ASSERT_NE(std::string::npos, at) << line << "\n" << out;
  }
}

TEST(SymbolProcess, LateStaticsFindTheTableGone) {
  const auto result = lmktest::RunSelf("symbol_late", {}, {{"LMK_TEST_EARLY_SYMBOL", "early"}});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("Dead Reference Detected\nDead Reference Detected\nempty\n", result.out) << result.err;
}

TEST(SymbolProcess, EndsWhileThreadsUseSymbols) {
  // There the library ends after all other threads; only in this test, which is linked with its objects, they
  // run on.
  if (os::GetCapabilities().exitKillsThreads) GTEST_SKIP() << "on this target no thread is left at exit";
  for (int i = 0; i < 3; ++i) {
    const auto result = lmktest::RunSelf("symbol_running");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_FALSE(result.timedOut);
  }
}

TEST(Symbol, EmptyTextsGiveNoEntry) {
  for (const Symbol& symbol : {Symbol(), Symbol(""), Symbol(static_cast<const char*>(nullptr)),
                               Symbol(std::string()), Symbol(std::string("\0x", 2)), Symbol::EMPTY}) {
    EXPECT_TRUE(symbol.empty());
    EXPECT_EQ(nullptr, symbol.c_str());
    EXPECT_EQ(nullptr, symbol.begin());
    EXPECT_EQ(nullptr, symbol.end());
    EXPECT_STREQ("", symbol.safe_c_str());
    EXPECT_EQ(0u, symbol.length());
    EXPECT_EQ(0u, symbol.GetId());
    EXPECT_EQ('\0', symbol[0]);
    EXPECT_EQ(Symbol::npos, symbol.find('a', 0));
    EXPECT_EQ(0u, symbol.find("", 0));
    EXPECT_EQ(Symbol::npos, symbol.find("", 1));
    EXPECT_EQ(Symbol::npos, symbol.rfind('a', 5));
    EXPECT_EQ("", symbol.substr(0, 1));
    EXPECT_EQ("", std::string(symbol));
    EXPECT_TRUE(symbol == "" && symbol == std::string() && symbol == Symbol::EMPTY);
    EXPECT_FALSE(symbol == "a" || symbol == std::string(1, '\0'));
  }
}

TEST(Symbol, StringsEndAtTheirFirstNul) {
  for (const std::size_t before : {1u, 7u, 8u, 127u, 128u, 129u, 500u}) {
    for (const std::size_t behind : {0u, 1u, 9u, 200u}) {
      const std::string text(before, 'n');
      std::string longer = text;
      longer += '\0';
      longer.append(behind, 'n');
      {
        const Symbol fresh(longer);  // of a text that is not there yet
        EXPECT_EQ(text, std::string(fresh));
        EXPECT_EQ(Symbol(text), Symbol(longer));  // in use
      }
      EXPECT_EQ(Symbol(longer), Symbol(text.c_str()));  // dropped, not freed
    }
  }
}

TEST(Symbol, EqualTextsShareOneEntryAcrossThreads) {
  const Symbol here("shared text");
  unsigned id = 0;
  const char* text = nullptr;
  std::thread([&] {
    const Symbol there(std::string("shared text"));
    id = there.GetId();
    text = there.c_str();
  }).join();
  EXPECT_EQ(here.GetId(), id);
  EXPECT_EQ(here.c_str(), text);
  EXPECT_NE(0u, id);
  EXPECT_NE(Symbol("shared texu").GetId(), id);
}

TEST(Symbol, CutsStringsAtTheirFirstNul) {
  const Symbol symbol(std::string("ab\0cd", 5));
  EXPECT_EQ(2u, symbol.size());
  EXPECT_STREQ("ab", symbol.c_str());
  EXPECT_FALSE(symbol == std::string("ab\0cd", 5));
  EXPECT_TRUE("ab" == symbol && std::string("ab") == symbol && symbol != "abc" && symbol != "a");
}

TEST(Symbol, FindsAndCutsWithoutLeavingTheText) {
  const Symbol symbol("abcabc");
  const unsigned npos = Symbol::npos;
  EXPECT_EQ(3u, symbol.find('a', 1));
  EXPECT_EQ(npos, symbol.find('a', 4));
  EXPECT_EQ(npos, symbol.find('a', 6));
  EXPECT_EQ(npos, symbol.find('a', npos));
  EXPECT_EQ(1u, symbol.find("bc", 0));
  EXPECT_EQ(4u, symbol.find("bc", 2));
  EXPECT_EQ(npos, symbol.find("bcd", 4));
  EXPECT_EQ(6u, symbol.find("", 6));
  EXPECT_EQ(npos, symbol.find("", 7));
  EXPECT_EQ(npos, symbol.find("ab", npos));  // npos + 2 would wrap around
  EXPECT_EQ(4u, symbol.rfind('b', npos));
  EXPECT_EQ(1u, symbol.rfind('b', 3));
  EXPECT_EQ(npos, symbol.rfind('b', 0));
  EXPECT_EQ("cab", symbol.substr(2, 3));
  EXPECT_EQ("bc", symbol.substr(4, npos));
  EXPECT_EQ("", symbol.substr(6, 1));
  EXPECT_EQ("", symbol.substr(npos, npos));
  EXPECT_EQ('c', symbol[5]);
  EXPECT_EQ('\0', symbol[6]);
  EXPECT_EQ('\0', symbol[npos]);
  EXPECT_EQ("abcabc", std::string(symbol.begin(), symbol.end()));
}

TEST(Symbol, AssignmentTakesFromItselfAndMovesEmpty) {
  Symbol a("first text");
  a = a.c_str() + 6;
  EXPECT_EQ("text", std::string(a));
  Symbol& self = a;
  a = self;
  a = std::move(self);
  EXPECT_TRUE(a == "text");
  Symbol b = std::move(a);
  EXPECT_TRUE(a.empty() && b == "text");  // NOLINT(bugprone-use-after-move): documented
  a = std::string("third");
  a.Swap(b);
  EXPECT_TRUE(a == "text" && b == "third");
  b = a;
  EXPECT_EQ(a.GetId(), b.GetId());
  b.clear();
  b.clear();
  EXPECT_TRUE(b.empty() && a == "text");
  a = "";
  EXPECT_TRUE(a.empty());
}

TEST(Symbol, StreamsWriteAllAndReadOneWord) {
  std::ostringstream out;
  out.width(20);
  out << Symbol("a b") << Symbol() << Symbol("c");
  EXPECT_EQ("a bc", out.str());
  std::istringstream in("  one\ttwo");
  Symbol word("old");
  in >> word;
  EXPECT_TRUE(word == "one");
  word.Read(in);
  EXPECT_TRUE(word == "two");
  word.Read(in);
  EXPECT_TRUE(word.empty() && !in);
}

TEST(Symbol, OrdersByUnsignedBytesTheEmptyOneFirst) {
  std::map<Symbol, int> map;
  for (const char* text : {"b", "\xC3\xA4", "", "ab", "a", "\x7F", "B"}) map[text] = 1;
  std::string order;
  for (const auto& [key, value] : map) order += std::string(key) + "|";
  EXPECT_EQ("|B|a|ab|b|\x7F|\xC3\xA4|", order);
}

TEST(Symbol, CountThatWouldOverflowMakesTheEntryPermanent) {
  Symbol symbol("held very often");
  auto& count = du::internal::SymbolEntry::Of(symbol.c_str()).count;
  const char* const text = symbol.c_str();
  constexpr std::uint32_t kPermanent = du::internal::SymbolEntry::kPermanent;
  count.store(kPermanent - 1);
  {
    std::vector<Symbol> copies(10, symbol);
    copies.emplace_back("held very often");
    EXPECT_GE(count.load(), kPermanent);
  }
  EXPECT_GE(count.load(), kPermanent);
  count.store(kPermanent);
  symbol.clear();
  EXPECT_GE(count.load(), kPermanent);
  for (int i = 0; i < 300; ++i) Symbol("other " + std::to_string(i));  // several sweeps
  EXPECT_EQ(text, Symbol("held very often").c_str());
}

TEST(Symbol, StaysUsableWithoutMemory) {
  Symbol symbol("before");
  {
    const lmktest::Shortage noMemory(lmktest::Memory::kCommonAllocator);
    EXPECT_THROW(symbol = "a text that is new to the table", std::bad_alloc);
    EXPECT_TRUE(symbol == "before");
    const Symbol known("before");  // needs no memory
    EXPECT_TRUE(known == symbol);
  }
  symbol = "a text that is new to the table";
  EXPECT_EQ(31u, symbol.length());
  EXPECT_EQ(0, lmktest::RunSelf("symbol_first_use").exitCode);
}

TEST(Symbol, TearsDownOneStepBeforeTheCommonAllocator) {
  EXPECT_EQ(0xFFFFFFFDu, GetLongevity(static_cast<Symbol*>(nullptr)));
}

TEST(DualSymbol, HoldsTwo) {
  const Symbol one("one");
  const DualSymbol cases[] = {{"one", "two"},
                              {std::string("one"), std::string("two")},
                              {one, Symbol("two")},
                              {Symbol("one"), Symbol("two")}};
  for (const DualSymbol& pair : cases) EXPECT_TRUE(pair.S1() == one && pair.S2() == "two" && !pair.empty());
  DualSymbol pair(one, one);
  pair.S2().clear();
  EXPECT_FALSE(pair.empty());
  const DualSymbol taken = std::move(pair);
  EXPECT_TRUE(pair.empty() && pair == DualSymbol::EMPTY);  // NOLINT(bugprone-use-after-move): documented
  EXPECT_TRUE(taken.S1() == one && taken == DualSymbol(Symbol("one"), Symbol()));
}

int UseSymbolsInChild() {
  for (int text = 0; text < 200; ++text) Symbol("child" + std::to_string(text));
  return Symbol("child") == Symbol("child") ? 0 : 1;
}

// Forks while other threads intern and drop texts; each child does so too, often enough for sweeps, and every
// second one ends with exit calls.
const lmktest::ChildRole kForkRole("symbol_fork", [](const std::vector<std::string>&) {
  const Symbol first("first");  // forks are safe from the first use on
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int n = 0; n < 2; ++n) {
    threads.emplace_back([&stop, n] {
      for (int i = 0; !stop; ++i) Symbol(std::to_string(n) + "-" + std::to_string(i));
    });
  }
  int failed = 0;
  for (int i = 0; i < 150; ++i) {
    const bool hasExitCalls = i % 2 == 1;
    const auto child = hasExitCalls ? []() -> int { std::exit(UseSymbolsInChild()); } : UseSymbolsInChild;
    failed += os::testing::RunForked(child) != 0;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  return failed;
});

TEST(Symbol, IsUsableInForkedProcesses) {
  if (os::testing::RunForked([] { return 0; }) == os::testing::kForkUnknown)
    GTEST_SKIP() << "processes do not fork on this target";
  const lmktest::ChildResult result = lmktest::RunSelf("symbol_fork");
  EXPECT_EQ(0, result.exitCode) << (result.timedOut ? "hangs" : result.err);
}

}  // namespace
