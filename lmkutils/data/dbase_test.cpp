#include "lmkutils/data/dbase.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/testing/random.h"
#include "lmkutils/testing/threads.h"

namespace {

using du::Dbase;
using du::Symbol;
using Entry = std::tuple<std::string, unsigned, std::string>;  // in the order of the database
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Texts(const Dbase::AttributeValueList& attributes) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : attributes) texts.push_back(std::string(name) + "=" + std::string(value));
  return texts;
}

std::vector<Entry> Entries(const Dbase::IdValueList& attributes) {
  std::vector<Entry> entries;
  for (const auto& [id, name, value] : attributes) entries.emplace_back(name, id, value);
  return entries;
}

TEST(Dbase, GivesBackWhatWasAdded) {
  Dbase dbase;
  dbase.AddAttribute(7, "name", "b");
  dbase.AddAttribute(7, Symbol("kind"), Symbol("text"));
  dbase.AddAttribute(0xFFFFFFFFU, "name", "c");
  dbase.AddAttribute(7, "name", "a");
  dbase.AddAttribute(Dbase::IdList{0, 7}, "tag", "x");
  dbase.AddAttribute(Dbase::IdList{0, 0}, Symbol("dup"), Symbol("y"));
  dbase.AddAttribute(1, nullptr, nullptr);
  EXPECT_THAT(Texts(dbase.GetAttributes(7)), ElementsAre("kind=text", "name=b", "name=a", "tag=x"));
  EXPECT_THAT(Texts(dbase.GetAttributes(7, "name")), ElementsAre("name=b", "name=a"));
  EXPECT_THAT(Texts(dbase.GetAttributes(7, Symbol("name"))), ElementsAre("name=b", "name=a"));
  EXPECT_THAT(Texts(dbase.GetAttributes(0U)), ElementsAre("dup=y", "dup=y", "tag=x"));
  EXPECT_THAT(Texts(dbase.GetAttributes(1)), ElementsAre("="));
  EXPECT_THAT(dbase.GetAttributes(8), IsEmpty());
  EXPECT_THAT(dbase.GetAttributes(7, "no such name"), IsEmpty());
  EXPECT_THAT(Entries(dbase.GetAttributes(Dbase::IdList{0xFFFFFFFFU, 0, 5, 0})),
              ElementsAre(Entry("dup", 0, "y"), Entry("dup", 0, "y"), Entry("name", 0xFFFFFFFFU, "c"),
                          Entry("tag", 0, "x")));
}

TEST(Dbase, ReplacesAllValuesByOne) {
  Dbase dbase;
  for (const char* const value : {"1", "2", "3"}) dbase.AddAttribute(1, "a", value);
  dbase.AddAttribute(1, "b", "kept");
  dbase.AddAttribute(2, "a", "kept");
  dbase.ReplaceAttribute(1, "a", "4");
  EXPECT_THAT(Texts(dbase.GetAttributes(1)), ElementsAre("a=4", "b=kept"));
  dbase.ReplaceAttribute(3, Symbol("a"), Symbol("5"));
  dbase.AddAttribute(0, "a", "unsorted");
  dbase.AddAttribute(0, "a", "unsorted");
  dbase.ReplaceAttribute(Dbase::IdList{3, 0, 9, 9}, "a", "6");
  EXPECT_THAT(Entries(dbase.GetAttributes(Dbase::IdList{0, 1, 2, 3, 9})),
              ElementsAre(Entry("a", 0, "6"), Entry("a", 1, "4"), Entry("a", 2, "kept"), Entry("a", 3, "6"),
                          Entry("a", 9, "6"), Entry("b", 1, "kept")));
  EXPECT_TRUE(dbase.IsInSaneState());
}

TEST(Dbase, RemovesByRecordByNameAndAll) {
  const auto filled = [] {
    auto dbase = std::make_unique<Dbase>();
    for (const unsigned id : {3U, 1U, 2U}) {
      for (const char* const name : {"a", "b", "c"}) dbase->AddAttribute(id, name, "x");
    }
    return dbase;
  };
  // What is left, as names and records in a row.
  const auto rest = [](const Dbase& dbase) {
    std::string text;
    for (const auto& [id, name, value] : dbase.GetAttributes(dbase.PerformQuery("NOT <none>"))) {
      text += std::string(name) + std::to_string(id) + " ";
    }
    EXPECT_TRUE(dbase.IsInSaneState());
    return text;
  };
  using Ids = Dbase::IdList;
  const std::pair<void (*)(Dbase&), const char*> cases[] = {
      {[](Dbase& d) { d.RemoveAttributes(); }, ""},
      {[](Dbase& d) { d.RemoveAttributes(1); }, "a2 a3 b2 b3 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes(4); }, "a1 a2 a3 b1 b2 b3 c1 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes(3, "b"); }, "a1 a2 a3 b1 b2 c1 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes(3, "none"); }, "a1 a2 a3 b1 b2 b3 c1 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes(Symbol("a")); }, "b1 b2 b3 c1 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes("c"); }, "a1 a2 a3 b1 b2 b3 "},
      {[](Dbase& d) { d.RemoveAttributes("none"); }, "a1 a2 a3 b1 b2 b3 c1 c2 c3 "},
      {[](Dbase& d) {
         d.RemoveAttributes(Ids{3, 9, 1, 3});
       },
       "a2 b2 c2 "},
      {[](Dbase& d) {
         d.RemoveAttributes(Ids{3, 2, 1});
       },
       ""},
      {[](Dbase& d) { d.RemoveAttributes(Ids{}); }, "a1 a2 a3 b1 b2 b3 c1 c2 c3 "},
      {[](Dbase& d) {
         d.RemoveAttributes(Ids{3, 2}, "b");
       },
       "a1 a2 a3 b1 c1 c2 c3 "},
      {[](Dbase& d) {
         d.RemoveAttributes(Ids{3, 2, 1}, Symbol("b"));
       },
       "a1 a2 a3 c1 c2 c3 "},
      {[](Dbase& d) { d.RemoveAttributes(Ids{2}, "none"); }, "a1 a2 a3 b1 b2 b3 c1 c2 c3 "},
  };
  for (const auto& [remove, expected] : cases) {
    const auto dbase = filled();
    remove(*dbase);
    EXPECT_EQ(expected, rest(*dbase)) << &remove - &cases[0].first;
    dbase->AddAttribute(2, "a", "added later");
    EXPECT_THAT(rest(*dbase), testing::HasSubstr("a2"));
  }
}

// A plain list of entries, which does what the database is to do.
class Model {
 public:
  void Add(unsigned id, const std::string& name, const std::string& value) {
    entries_.emplace_back(name, id, value);
  }
  void Replace(unsigned id, const std::string& name, const std::string& value) {
    const auto is = [&](const Entry& e) { return std::get<0>(e) == name && std::get<1>(e) == id; };
    const auto first = std::find_if(entries_.begin(), entries_.end(), is);
    if (first == entries_.end()) return Add(id, name, value);
    std::get<2>(*first) = value;
    entries_.erase(std::remove_if(first + 1, entries_.end(), is), entries_.end());
  }
  template <class Condition>
  void RemoveIf(Condition condition) {
    entries_.erase(std::remove_if(entries_.begin(), entries_.end(), condition), entries_.end());
  }
  std::vector<Entry> Sorted() const {
    std::vector<Entry> sorted(entries_);
    std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
      return std::tie(std::get<0>(a), std::get<1>(a)) < std::tie(std::get<0>(b), std::get<1>(b));
    });
    return sorted;
  }
  template <class Condition>
  std::set<unsigned> Select(Condition condition) const {
    std::set<unsigned> ids;
    for (const Entry& entry : entries_) {
      if (condition(entry)) ids.insert(std::get<1>(entry));
    }
    return ids;
  }

 private:
  std::vector<Entry> entries_;
};

std::string RandomName(lmktest::Random& random) {
  return std::string(1, static_cast<char>('a' + random() % 4));
}

Dbase::IdList RandomIds(lmktest::Random& random) {
  Dbase::IdList ids(random() % 6);
  for (unsigned& id : ids) id = random() % 40;
  return ids;
}

void ChangeBoth(lmktest::Random& random, Dbase& dbase, Model& model) {
  const unsigned id = random() % 40;
  const std::string name = RandomName(random);
  const std::string value = std::to_string(random() % 12);
  const Dbase::IdList ids = RandomIds(random);
  const auto isListed = [&](const Entry& e) {
    return std::count(ids.begin(), ids.end(), std::get<1>(e)) != 0;
  };
  switch (random() % 24) {
    default:
      dbase.AddAttribute(id, name, value);
      return model.Add(id, name, value);
    case 0:
      dbase.AddAttribute(ids, name.c_str(), value.c_str());
      for (const unsigned each : ids) model.Add(each, name, value);
      return;
    case 1:
    case 2:
      dbase.ReplaceAttribute(id, name, value);
      return model.Replace(id, name, value);
    case 3:
      dbase.ReplaceAttribute(ids, name.c_str(), value.c_str());
      for (const unsigned each : ids) model.Replace(each, name, value);
      return;
    case 4:
      dbase.RemoveAttributes(id);
      return model.RemoveIf([&](const Entry& e) { return std::get<1>(e) == id; });
    case 5:
      dbase.RemoveAttributes(id, name);
      return model.RemoveIf([&](const Entry& e) { return std::get<1>(e) == id && std::get<0>(e) == name; });
    case 6:
      dbase.RemoveAttributes(ids);
      return model.RemoveIf(isListed);
    case 7:
      dbase.RemoveAttributes(ids, Symbol(name));
      return model.RemoveIf([&](const Entry& e) { return isListed(e) && std::get<0>(e) == name; });
    case 8:
      if (random() % 8 != 0) return dbase.ShrinkToFit();
      dbase.RemoveAttributes(Symbol(name));
      return model.RemoveIf([&](const Entry& e) { return std::get<0>(e) == name; });
  }
}

// A query, and the records that the model selects by it.
struct Query {
  std::string text;
  std::set<unsigned> ids;
};

Query RandomLeaf(lmktest::Random& random, const Model& model) {
  const std::string name = RandomName(random);
  const auto leaf = [&](const std::string& rest, auto condition) {
    const auto selects = [&](const Entry& e) { return std::get<0>(e) == name && condition(std::get<2>(e)); };
    return Query{" <" + name + ">" + rest, model.Select(selects)};
  };
  switch (random() % 4) {
    case 0:
      return leaf("", [](const std::string&) { return true; });
    case 1:
      return leaf(" EQ <1.?>", [](const std::string& value) { return value[0] == '1'; });
    case 2:
      return leaf(" NE <[0-4]>", [](const std::string& value) { return value[0] > '4' || value.size() > 1; });
    default:
      return leaf("EQ<11>", [](const std::string& value) { return value == "11"; });
  }
}

Query RandomQuery(lmktest::Random& random, const Model& model, unsigned depth) {
  if (depth == 0) return RandomLeaf(random, model);
  const Query left = RandomQuery(random, model, depth - 1);
  const Query right = RandomQuery(random, model, random() % depth);
  const auto combined = [&](const std::string& word, auto algorithm) {
    Query query{left.text + word + " (" + right.text + " )", {}};
    algorithm(left.ids.begin(), left.ids.end(), right.ids.begin(), right.ids.end(),
              std::inserter(query.ids, query.ids.end()));
    return query;
  };
  Query query;
  switch (random() % 4) {
    case 0:
      query = {" NOT (" + left.text + ")", model.Select([](const Entry&) { return true; })};
      for (const unsigned id : left.ids) query.ids.erase(id);
      return query;
    case 1:
      return combined(" AND", [](auto... range) { std::set_intersection(range...); });
    case 2:
      return combined(" OR", [](auto... range) { std::set_union(range...); });
    default:
      return combined(" XOR", [](auto... range) { std::set_symmetric_difference(range...); });
  }
}

TEST(Dbase, DoesWhatAPlainListDoes) {
  for (const std::uint32_t seed : {1U, 2U, 3U}) {
    lmktest::Random random(seed);
    Dbase dbase;
    Model model;
    for (int step = 0; step < 4000; ++step) {
      ChangeBoth(random, dbase, model);
      if (random() % 10 != 0) continue;
      ASSERT_TRUE(dbase.IsInSaneState());
      const auto [query, expected] = RandomQuery(random, model, random() % 5);
      const Dbase::IdList found = dbase.PerformQuery(query);
      ASSERT_EQ(std::vector(expected.begin(), expected.end()), std::vector(found.begin(), found.end()))
          << query;
      if (random() % 2 == 0) dbase.ForceResort();
      ASSERT_EQ(model.Sorted(), Entries(dbase.GetAttributes(dbase.PerformQuery("NOT <none>"))));
    }
  }
}

// The first of them sorts.
TEST(Dbase, IsReadByManyThreadsAtOnce) {
  for (int round = 0; round < 20; ++round) {
    Dbase dbase;
    for (unsigned i = 0; i < 500; ++i) {
      dbase.AddAttribute(i * 37 % 500, i % 2 == 0 ? "even" : "odd", std::to_string(i).c_str());
    }
    lmktest::OnThreads(4, [&](int thread) {
      EXPECT_EQ(250U, dbase.PerformQuery(thread % 2 == 0 ? "<even> EQ <.*>" : "NOT <even>").size());
      EXPECT_EQ(1U, dbase.GetAttributes(static_cast<unsigned>(thread)).size());
      EXPECT_EQ(3U, dbase.GetAttributes(Dbase::IdList{1, 2, 3}).size());
    });
    EXPECT_TRUE(dbase.IsInSaneState());
  }
}

}  // namespace
