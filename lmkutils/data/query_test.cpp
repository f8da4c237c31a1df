// The query language: form, meaning, errors.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/data/dbase.h"
#include "lmkutils/data/internal/query_evaluator.h"
#include "lmkutils/data/query_fault.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

using du::Dbase;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// What the query throws; "" when nothing.
std::string ErrorOf(const Dbase& dbase, const std::string& query) {
  try {
    static_cast<void>(dbase.PerformQuery(query));
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

std::string Problem(const std::string& query, const std::string& what) {
  return "While Performing query \"" + query + "\", encountered a problem: " + what;
}

std::string Repeat(std::size_t count, const std::string& text) {
  std::string repeated;
  for (std::size_t i = 0; i < count; ++i) repeated += text;
  return repeated;
}

// Records 1 to 5; "tag" has several values in some.
class QueryMeaning : public testing::Test {
 protected:
  QueryMeaning() {
    constexpr struct {
      unsigned id;
      const char* name;
      const char* value;
    } kEntries[] = {
        {1, "a", "1"},   {2, "a", "1"},      {3, "a", "2"},       {2, "b", ""},      {3, "b", "x"},
        {4, "b", "x"},   {5, "c", "x.y"},    {4, "tag", "red"},   {1, "tag", "red"}, {4, "tag", "blue"},
        {1, " s ", "v"}, {5, "bad", "\xFF"}, {5, "text", "a\nb"},
    };
    for (const auto& [id, name, value] : kEntries) dbase_.AddAttribute(id, name, value);
  }
  std::vector<unsigned> Run(const std::string& query) const {
    const Dbase::IdList ids = dbase_.PerformQuery(query);
    return {ids.begin(), ids.end()};
  }

  Dbase dbase_;
};

TEST_F(QueryMeaning, LeavesAndOperators) {
  using Ids = std::vector<unsigned>;
  const std::vector<std::pair<std::string, Ids>> cases{
      {"<a>", {1, 2, 3}},
      {"<tag>", {1, 4}},
      {"<A>", {}},
      {"<>", {}},
      {"< s >", {1}},
      {"<s>", {}},
      {"<a>  EQ<1>", {1, 2}},
      {"\t<a>\nEQ\v<.*>\f\r ", {1, 2, 3}},
      {"<a> EQ < 1>", {}},
      {"<a> NE <1>", {3}},
      {"<b> EQ <>", {2}},
      {"<b> NE <>", {3, 4}},
      {"<c> EQ <x.y>", {5}},
      {"<c> EQ <x\\.y>", {5}},
      {"<c> EQ <x\\.>", {}},
      {"<c> EQ <no such text anywhere>", {}},
      {"<c> NE <no such text anywhere>", {5}},
      {"<c> EQ <X.Y>", {}},
      {"<c> EQ <(?i)X.Y>", {5}},
      // A record with several values is in both.
      {"<tag> EQ <blue>", {4}},
      {"<tag> NE <blue>", {1, 4}},
      {"<tag> EQ <r.*|b.*>", {1, 4}},
      // A value that is not UTF-8 matches nothing.
      {"<bad> EQ <(?s).*>", {}},
      {"<bad> NE <(?s).*>", {5}},
      {"<text> EQ <a.b>", {}},
      {"<text> EQ <a\nb>", {5}},
      {"NOT <a>", {4, 5}},
      {"NOT NOT <a>", {1, 2, 3}},
      {"NOTNOTNOT<a>", {4, 5}},
      {"NOT (<a> OR <c>)", {4}},
      {"NOT <a> OR <c>", {4, 5}},
      {"NOT <none>", {1, 2, 3, 4, 5}},
      {"<a> AND <b>", {2, 3}},
      {"<a>AND<b>AND<tag>", {}},
      {"<a> AND NOT <b>", {1}},
      {"NOT <b> AND <a>", {1}},
      {"NOT <a> AND NOT <b>", {5}},
      {"<a> OR NOT <b>", {1, 2, 3, 5}},
      {"NOT <b> OR <c>", {1, 5}},
      {"NOT <a> OR NOT <b>", {1, 4, 5}},
      {"<a> XOR <b>", {1, 4}},
      {"<a> XOR NOT <b>", {2, 3, 5}},
      {"NOT <a> XOR NOT <b>", {1, 4}},
      {"<a> XOR <b> XOR <a>", {2, 3, 4}},
      {"<a> XOR <b> OR <c> XOR <tag>", {5}},
      {"<a> OR <b> AND <c>", {}},
      {"(<a> OR <b>) AND <c>", {}},
      {"<a> OR (<b> AND <c>)", {1, 2, 3}},
      {"<c> OR <a> AND <a>", {1, 2, 3}},
      {"((<a>)AND(NOT((<b>))))", {1}},
  };
  for (const auto& [query, ids] : cases) EXPECT_EQ(ids, Run(query)) << query;
  EXPECT_THAT(Dbase().PerformQuery("NOT <a>"), IsEmpty());
  EXPECT_THAT(dbase_.PerformQuery(du::Symbol("<c>")), ElementsAre(5));
  EXPECT_THAT(dbase_.PerformQuery(std::string("<a\0>", 4)), IsEmpty());
}

TEST(QueryForm, FailedStepsAreNumberedAndTraced) {
  struct Case {
    std::string query;
    int step;
    std::size_t position;
  };
  const std::vector<Case> cases{
      {"<", 462, 0},
      {"<a", 462, 0},
      {"(<a> OR <b", 462, 8},
      {"<a> EQ <x", 462, 7},
      {"<a> E", 492, 4},
      {"<a> EX <x>", 492, 4},
      {"<a> E Q <x>", 492, 4},
      {"<a> EQ", 492, 6},
      {"<a> EQ x", 492, 7},
      {"<a> N", 502, 4},
      {"<a> NOT <b>", 502, 4},
      {"<a> NE  ", 502, 8},
      {"(<a>", 525, 0},
      {" (<a> AND (<b>)", 525, 1},
      {"N", 535, 0},
      {"NO <a>", 535, 0},
      {"<a> OR N<a>", 535, 7},
      {"", 544, 0},
      {"  ", 544, 2},
      {"()", 544, 1},
      {"a", 544, 0},
      {"not <a>", 544, 0},
      {"<a> AND", 544, 7},
      {"NOT", 544, 3},
      {"\xFF", 544, 0},
      {std::string("\0<a>", 4), 544, 0},
      {"<a> <b>", 575, 4},
      {"<a> or <b>", 575, 4},
      {"<a> AN <b>", 575, 4},
      {"<a>\xFF", 575, 3},
      {"<a>>", 575, 3},
      {"(<a> x)", 575, 5},
      {"<a>)", 727, 3},
      {"(<a>) )", 727, 6},
      {"<a> EQ <(> )", 727, 11},
  };
  const Dbase dbase;
  for (const auto& [query, step, position] : cases) {
    SCOPED_TRACE(query);
    lmktest::TraceRecorder recorder;
    EXPECT_STREQ(Problem(query, "Malformed query.").c_str(), ErrorOf(dbase, query).c_str());
    const auto records = recorder.Take();
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ("Malformed query from line " + std::to_string(step) + " of Dbase", records[0].text);
    EXPECT_EQ(dp::TraceType::Error, records[0].type);
    EXPECT_STREQ(("Stream Content: | " + query).c_str(), records[1].text.c_str());
    EXPECT_EQ(dp::TraceType::Debug, records[1].type);
    for (const auto& record : records) EXPECT_EQ("Dbase", record.key);
    const auto fault = du::FindQueryFault(query);
    ASSERT_TRUE(fault.has_value());
    EXPECT_EQ(step, fault->step);
    EXPECT_EQ(position, fault->position);
  }
}

TEST(QueryForm, BadPatternsAreErrorsWhereverTheyStand) {
  lmktest::TraceRecorder recorder;
  const Dbase dbase;  // no record has the attribute
  for (const std::string query : {"<a> EQ <(>", "<a> NE <[>", "<a> AND <b> EQ <x\xFF>", "NOT <c> EQ <*>"}) {
    EXPECT_EQ(Problem(query, "Invalid regex."), ErrorOf(dbase, query));
    EXPECT_EQ(du::QueryFault::kPattern, du::FindQueryFault(query).value().step);
  }
  EXPECT_THAT(recorder.TakeTexts(), IsEmpty());
  const auto fault = du::FindQueryFault("<a> EQ <ok> OR <a> EQ <b)>").value();
  EXPECT_EQ(24U, fault.position);
  EXPECT_NE("", fault.reason);
  EXPECT_FALSE(du::FindQueryFault("NOT (<a> EQ <a\\.b> XOR <b> NE <.*>)").has_value());
}

TEST(QueryForm, PatternsThatCostTooMuchSaySo) {
  Dbase dbase;
  dbase.AddAttribute(1, "a", std::string(40, 'a').c_str());
  const std::string query = "<a> EQ <(a+)+(b|c)>";
  EXPECT_EQ(Problem(query, "Regex exceeds the match limit."), ErrorOf(dbase, query));
}

TEST(QueryForm, DepthIsLimitedAndLengthIsNot) {
  Dbase dbase;
  dbase.AddAttribute(7, "a", "x");
  EXPECT_THAT(dbase.PerformQuery(Repeat(1000, "(") + "<a>" + Repeat(1000, ")")), ElementsAre(7));
  EXPECT_THAT(dbase.PerformQuery(Repeat(1000, "NOT ") + "<a>"), ElementsAre(7));
  EXPECT_THAT(dbase.PerformQuery(Repeat(1000, "(NOT <a>) OR ") + "<a>"), ElementsAre(7));
  const std::vector<std::string> tooDeep{
      Repeat(1001, "(") + "<a>" + Repeat(1001, ")"),
      Repeat(1'000'000, "("),
      Repeat(1'000'000, "NOT "),
      Repeat(1'000'000, "NOT ") + "<a>",
      Repeat(100'000, "(NOT ") + "<a>" + Repeat(100'000, ")"),
      Repeat(100'000, "<a> AND ("),
  };
  for (const std::string& query : tooDeep) {
    EXPECT_THAT(ErrorOf(dbase, query), EndsWith("encountered a problem: Malformed query."));
    EXPECT_EQ(du::QueryFault::kTerm, du::FindQueryFault(query).value().step);
  }
  EXPECT_THAT(dbase.PerformQuery(Repeat(1'000'000, "<a> OR ") + "<a>"), ElementsAre(7));
  EXPECT_THAT(dbase.PerformQuery(Repeat(100'000, "<a> XOR ") + "<a>"), ElementsAre(7));
  EXPECT_THAT(dbase.PerformQuery("<b> OR <" + Repeat(1'000'000, "long") + ">"), IsEmpty());
}

// Values that come back and values that do not, so that the memory of verdicts is used, grows, and is given
// up.
TEST(QueryForm, EveryEntryGetsTheVerdictOfItsValue) {
  for (const unsigned different : {1U, 40U, 3'000U, 20'000U}) {
    Dbase dbase;
    Dbase::IdList even;
    for (unsigned id = 0; id < 20'000; ++id) {
      const unsigned value = id * 7 % different;
      dbase.AddAttribute(id, "n", value == 1 ? "" : std::to_string(value).c_str());
      if (value % 2 == 0) even.push_back(id);
    }
    EXPECT_EQ(even, dbase.PerformQuery("<n> EQ <\\d*[02468]>")) << different;
    EXPECT_EQ(even, dbase.PerformQuery("NOT <n> NE <\\d*[02468]>")) << different;
  }
}

// Literals that are asked for again and again are looked up in an index, which must follow every change.
TEST(QueryForm, RepeatedLiteralsFollowChanges) {
  Dbase dbase;
  for (unsigned id = 0; id < 5'000; ++id) {
    dbase.AddAttribute(id, "n", id % 100 == 0 ? "" : std::to_string(id % 1'000).c_str());
  }
  const auto expectAll = [&] {
    for (int i = 0; i < 8; ++i) {
      for (const std::string value : {"", "7", "17", "0", "none of them"}) {
        const auto expected = dbase.PerformQuery("<n> EQ <(" + value + ")>");  // no literal
        ASSERT_EQ(expected, dbase.PerformQuery("<n> EQ <" + value + ">")) << value;
        ASSERT_EQ(dbase.PerformQuery("<n> NE <(" + value + ")>"),
                  dbase.PerformQuery("<n> NE <" + value + ">"));
      }
    }
    ASSERT_TRUE(dbase.IsInSaneState());
  };
  expectAll();
  EXPECT_EQ(50U, dbase.PerformQuery("<n> EQ <>").size());
  const std::vector<std::function<void()>> changes{
      [&] { dbase.ReplaceAttribute(4'000, "n", "7"); },
      [&] {
        dbase.ReplaceAttribute(Dbase::IdList{17, 1'017, 9'000}, "n", "7");
      },
      [&] { dbase.AddAttribute(3, "n", "17"); },
      [&] { dbase.AddAttribute(6'000, "n", "0"); },
      [&] { dbase.RemoveAttributes(1'007); },
      [&] {
        dbase.RemoveAttributes(Dbase::IdList{7, 2'007}, "n");
      },
      [&] { dbase.ShrinkToFit(); },
      [&] { dbase.RemoveAttributes("n"); },
  };
  for (const auto& change : changes) {
    change();
    expectAll();
  }
}

TEST(QueryForm, ManyThreadsAskForLiterals) {
  Dbase dbase;
  for (unsigned id = 0; id < 5'000; ++id) dbase.AddAttribute(id, "n", std::to_string(id / 2).c_str());
  lmktest::OnThreads(4, [&](int) {
    for (unsigned i = 0; i < 50; ++i) {
      ASSERT_THAT(dbase.PerformQuery("<n> EQ <" + std::to_string(i) + ">"), ElementsAre(2 * i, 2 * i + 1));
    }
  });
  EXPECT_TRUE(dbase.IsInSaneState());
}

TEST(QueryForm, UnknownNodesAreProgrammingErrors) {
  const du::internal::AttributeList attributes;
  const du::internal::QueryProgram program{{static_cast<du::internal::QueryNodeKind>(7), {}, {}}};
  try {
    du::internal::EvaluateQuery(program, attributes);
    FAIL() << "nothing was thrown";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ("unrecognised query node", error.what());
  }
}

}  // namespace
