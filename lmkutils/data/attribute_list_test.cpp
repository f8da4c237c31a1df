// The list of attributes by itself: order, and what a lack of memory leaves behind.
#include "lmkutils/data/internal/attribute_list.h"

#include <functional>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/data/internal/id_lists.h"
#include "lmkutils/testing/random.h"
#include "lmkutils/testing/shortage.h"

namespace {

using du::Symbol;
using du::internal::AttributeList;
using du::internal::IdList;
using Entry = std::tuple<std::string, unsigned, std::string>;

std::vector<Entry> EntriesOf(const AttributeList& list) {
  std::vector<Entry> entries;
  for (const auto* const column : list.Columns()) {
    for (std::size_t i = 0; i < column->second.Size(); ++i) {
      entries.emplace_back(column->first, column->second.Ids()[i], column->second.Values()[i]);
    }
  }
  return entries;
}

TEST(AttributeList, IsOrderedByNameRecordAndInsertion) {
  AttributeList list;
  EXPECT_EQ("AttributeList", list.GetDebugClassName());
  list.Add(3, "b", "1");
  list.Add(1, "\xC3\xA4", "2");
  list.Add(2, "a", "3");
  list.Add(2, "B", "4");
  list.Add(1, "a", "5");
  list.Add(2, "a", "0");
  list.Add(9, "", "6");
  list.Add(2, "a", "3");
  EXPECT_TRUE(list.IsConsistent());
  const std::vector<Entry> expected{{"", 9, "6"},  {"B", 2, "4"}, {"a", 1, "5"}, {"a", 2, "3"},
                                    {"a", 2, "0"}, {"a", 2, "3"}, {"b", 3, "1"}, {"\xC3\xA4", 1, "2"}};
  EXPECT_EQ(expected, EntriesOf(list));
  EXPECT_TRUE(list.IsConsistent());
  EXPECT_EQ((IdList{1, 2, 3, 9}), list.AllIds());
}

// Replacing records that have no such attribute, in any order, does not sort the column each time.
TEST(AttributeList, ReplacesInALongUnsortedTail) {
  AttributeList list;
  lmktest::Random random(11);
  std::vector<std::string> expected(4096);
  for (int i = 0; i < 12'000; ++i) {
    const unsigned id = random() % 4096;
    expected[id] = std::to_string(i);
    list.Replace(id, "n", expected[id]);
    if (i % 500 == 0) {
      list.Add(id, "n", "one more");
      list.Add(id, "n", "and another");
      list.Replace(id, "n", expected[id]);
    }
  }
  EXPECT_TRUE(list.IsConsistent());
  std::vector<std::string> found(4096);
  for (const auto& [name, id, value] : EntriesOf(list)) {
    EXPECT_EQ("", found[id]) << id;
    found[id] = value;
  }
  EXPECT_EQ(expected, found);
}

// Each operation is made to run out of memory at every request in turn.
TEST(AttributeList, KeepsItsEntriesWhenMemoryRunsOut) {
  const std::function<void(AttributeList&)> operations[] = {
      [](AttributeList& list) { list.Add(5, "a", "new"); },
      [](AttributeList& list) { list.Add(5, "new name", "1"); },
      [](AttributeList& list) {
        list.Add(IdList{9, 1, 1, 5, 6, 7, 8}, "a", "2");
      },
      [](AttributeList& list) { list.Replace(4, "a", "1"); },
      [](AttributeList& list) { list.Replace(1, "a", "1"); },
      [](AttributeList& list) {
        list.Replace(IdList{9, 8, 9, 7, 6, 5, 1, 2}, "a", "2");
      },
      [](AttributeList& list) { list.Remove(2); },
      [](AttributeList& list) {
        list.Remove(IdList{3, 1});
      },
      [](AttributeList& list) {
        list.Remove(IdList{2, 7}, "a");
      },
      [](AttributeList& list) { list.Sort(); },
      [](AttributeList& list) { list.ShrinkToFit(); },
  };
  const auto fill = [](AttributeList& list) {
    for (const unsigned id : {2U, 3U, 1U, 2U}) {
      list.Add(id, "a", std::to_string(id));
      list.Add(id, "b", "b");
    }
  };
  const Symbol symbols[] = {"new", "new name", "1", "2", "a", "b"};  // made before memory runs out
  for (const auto& operation : operations) {
    bool hasFailed = true;
    for (std::uint64_t request = 1; hasFailed; ++request) {
      AttributeList before;
      AttributeList list;
      fill(before);
      fill(list);
      {
        const lmktest::Shortage shortage(lmktest::Memory::kCommonAllocator, request);
        try {
          operation(list);
          hasFailed = false;
        } catch (const std::bad_alloc&) {
        }
      }
      EXPECT_TRUE(list.IsConsistent());
      if (!hasFailed) operation(before);
      EXPECT_EQ(EntriesOf(before), EntriesOf(list)) << &operation - operations << ", " << request;
      ASSERT_LT(request, 100U);
    }
  }
}

TEST(IdLists, ManyListsAreJoined) {
  using namespace du::internal;
  for (const std::size_t lists : {0U, 1U, 2U, 3U, 100U}) {
    ListMerger all(Union);
    ListMerger odd(SymmetricDifference);
    IdList expected;
    for (unsigned i = 0; i < lists; ++i) {
      all.Add({i, 1000});
      odd.Add({i, 1000});
      expected.push_back(i);
    }
    if (lists % 2 != 0) expected.push_back(1000);
    EXPECT_EQ(expected, odd.Take());
    if (lists % 2 == 0 && lists != 0) expected.push_back(1000);
    EXPECT_EQ(expected, all.Take());
    EXPECT_EQ(IdList(), all.Take());
  }
}

}  // namespace
