#include "lmkutils/text/hash_map.h"

#include <memory>
#include <random>
#include <string>
#include <unordered_map>

#include <gtest/gtest.h>

#include "lmkutils/testing/shortage.h"
#include "lmkutils/text/symbol.h"

namespace {

using Map = du::HashMap<std::string, int>;

void ExpectSame(const std::unordered_map<std::string, int>& model, const Map& map) {
  ASSERT_EQ(model.size(), map.size());
  std::size_t seen = 0;
  for (const auto& [key, value] : map) {
    ++seen;
    ASSERT_EQ(1u, model.count(key));
    ASSERT_EQ(model.at(key), value);
    ASSERT_EQ(value, map.at(key));
  }
  ASSERT_EQ(model.size(), seen);
}

TEST(HashMap, AgreesWithTheStandardMapOverRandomOperations) {
  std::mt19937 random(7);
  std::unordered_map<std::string, int> model;
  Map map;
  for (int step = 0; step < 20000; ++step) {
    const std::string key = "key" + std::to_string(random() % 700);
    const int value = static_cast<int>(random() % 1000);
    switch (random() % 8) {
      case 0:
        EXPECT_EQ(model.insert({key, value}).second, map.insert({key, value}).second);
        break;
      case 1:
        model[key] = value;
        map[key] = value;
        break;
      case 2:
        EXPECT_EQ(model.try_emplace(key, value).second, map.try_emplace(key, value).second);
        break;
      case 3:
        EXPECT_EQ(model.emplace(key, value).second, map.emplace(key, value).second);
        break;
      case 4:
        EXPECT_EQ(model.insert_or_assign(key, value).second, map.insert_or_assign(key, value).second);
        break;
      case 5:
      case 6:
        EXPECT_EQ(model.erase(key), map.erase(key));
        break;
      default:
        EXPECT_EQ(model.count(key), map.count(std::string_view(key)));
        if (const auto found = map.find(key); found != map.end() && value < 300) {
          model.erase(key);
          map.erase(found);
        }
    }
    if (step % 1000 == 0) ExpectSame(model, map);
    if (step == 15000) {
      model.clear();
      map.clear();
    }
  }
  ExpectSame(model, map);
}

TEST(HashMap, GrowsByThePrimesAndKeepsItsEntriesInPlaceAndOrder) {
  du::HashMap<unsigned, unsigned> map;
  EXPECT_EQ(193u, map.bucket_count());
  map[0] = 0;
  const auto first = map.begin();
  for (unsigned i = 1; i < 193; ++i) map[i] = i;
  EXPECT_EQ(193u, map.bucket_count());
  map[193] = 193;
  EXPECT_EQ(389u, map.bucket_count());
  for (unsigned i = 194; i < 1000; ++i) map[i] = i;
  EXPECT_EQ(1543u, map.bucket_count());
  EXPECT_TRUE(first == map.begin());
  unsigned expected = 0;
  for (const auto& [key, value] : map) EXPECT_EQ(expected++, key);
  EXPECT_EQ(999u, (--map.end())->first);
  map.reserve(2000);
  EXPECT_EQ(3079u, map.bucket_count());
  EXPECT_EQ(7u, map.at(7));
  EXPECT_THROW((void)map.at(1000), std::out_of_range);
}

TEST(HashMap, CopiesMovesSwapsAndCompares) {
  Map map = {{"a", 1}, {"b", 2}, {"a", 3}};
  EXPECT_EQ(2u, map.size());
  EXPECT_EQ(1, map["a"]);
  Map copy = map;
  EXPECT_TRUE(copy == map);
  copy["c"] = 3;
  EXPECT_FALSE(copy == map);
  Map moved = std::move(copy);
  EXPECT_EQ(3u, moved.size());
  EXPECT_EQ(0u, copy.size());  // NOLINT(bugprone-use-after-move): a moved-from map is empty
  copy["again"] = 1;
  swap(copy, map);
  EXPECT_EQ(1u, map.size());
  EXPECT_EQ("a", copy.begin()->first);
  map = copy;
  Map& self = map;
  map = self;
  EXPECT_TRUE(map == copy);
  Map empty;
  swap(empty, map);
  EXPECT_TRUE(map.empty() && map.begin() == map.end());
  EXPECT_EQ(2u, empty.size());
  du::HashMap<unsigned, std::unique_ptr<int>> owners;
  owners.emplace(1, std::make_unique<int>(5));
  EXPECT_EQ(5, *std::move(owners).at(1));
}

TEST(HashMap, ErasesByItsOwnKeyAndWhileIterating) {
  Map map;
  for (int i = 0; i < 500; ++i) map[std::to_string(i)] = i;
  EXPECT_EQ(1u, map.erase(map.begin()->first));
  for (auto at = map.begin(); at != map.end();) at = at->second % 2 == 0 ? map.erase(at) : std::next(at);
  EXPECT_EQ(250u, map.size());
  EXPECT_FALSE(map.contains("2"));
  EXPECT_TRUE(map.contains("3"));
}

TEST(HashMap, SymbolsAreFoundByTextWithoutBeingMade) {
  du::HashMap<du::Symbol, int> map;
  map[du::Symbol("known")] = 1;
  map[du::Symbol()] = 2;
  EXPECT_EQ(1, map.find("known")->second);
  EXPECT_EQ(1, map.find(std::string("known"))->second);
  EXPECT_EQ(2, map.find("")->second);
  const lmktest::Shortage noMemory(lmktest::Memory::kCommonAllocator);
  EXPECT_TRUE(map.find("unknown") == map.end());
}

// Every allocation of an insertion that grows the map fails in turn: the map stays as it was.
void FailEveryAllocationOfAnInsertion(lmktest::Memory memory) {
  du::HashMap<unsigned, unsigned> map;
  int failures = 0;
  for (unsigned target : {0u, 1u, 193u}) {
    while (map.size() < target) map[static_cast<unsigned>(map.size())] = 1;
    for (std::uint64_t n = 1;; ++n) {
      const auto buckets = map.bucket_count();
      bool failed = false;
      {
        const lmktest::Shortage noMemory(memory, n, 1);
        try {
          map[target] = 2;
        } catch (const std::bad_alloc&) {
          failed = true;
        }
      }
      if (!failed) break;
      ++failures;
      EXPECT_EQ(target, map.size());
      EXPECT_EQ(buckets, map.bucket_count());
      EXPECT_FALSE(map.contains(target));
      if (target != 0) {
        EXPECT_EQ(2u, map.at(0));
      }
    }
    EXPECT_EQ(2u, map.at(target));
  }
  if (memory == lmktest::Memory::kCommonAllocator) {
    EXPECT_GT(failures, 2);
  }
}

TEST(HashMap, FailedInsertionChangesNothing) {
  for (const lmktest::Memory memory : lmktest::kAllMemory) FailEveryAllocationOfAnInsertion(memory);
}

}  // namespace
