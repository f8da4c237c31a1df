#include "lmkutils/trace/internal/debug_masks.h"

#include <gmock/gmock.h>

namespace {

using dp::internal::DebugMasks;
using dp::internal::ParseDebugMasks;

TEST(DebugMasks, WellFormedLists) {
  const struct {
    const char* text;
    DebugMasks expected;
  } cases[] = {
      {"du::Symbol=0x3, io = 4", {{"du::Symbol", 3}, {"io", 4}}},
      {"io 4", {{"io", 4}}},
      {"a=1", {{"a", 1}}},
      {" \t a\t= =\t 010 \n,\nb=0xfF", {{"a", 8}, {"b", 255}}},
      {"a=1,b=2,a=3", {{"a", 3}, {"b", 2}}},
      {"a=0", {{"a", 0}}},
      {"a=+5", {{"a", 5}}},
      {"a=-1,b=-0x2", {{"a", 0xFFFFFFFF}, {"b", 0xFFFFFFFE}}},
      {"a=4294967295,b=4294967296,c=0x1FFFFFFFF,d=-4294967297",
       {{"a", 0xFFFFFFFF}, {"b", 0xFFFFFFFF}, {"c", 0xFFFFFFFF}, {"d", 0xFFFFFFFF}}},
      {"Prüfung=7", {{"Prüfung", 7}}},
  };
  for (const auto& c : cases) EXPECT_EQ(c.expected, ParseDebugMasks(c.text)) << c.text;
}

TEST(DebugMasks, OneBadEntryEmptiesAll) {
  for (const char* bad : {"", " ", ",", "=3", " = 3", "b", "b=", "b = ", "b=x", "b=08", "b=3z", "b=0x",
                          "b=0xg", "b=3 4", "b=--1", "b=- 1", "b=1.5", "b=0x+1", "b=\"3\""}) {
    EXPECT_THAT(ParseDebugMasks(bad), testing::IsEmpty()) << bad;
    EXPECT_THAT(ParseDebugMasks(std::string("a=1,") + bad), testing::IsEmpty()) << bad;
    EXPECT_THAT(ParseDebugMasks(std::string(bad) + ",a=1"), testing::IsEmpty()) << bad;
  }
}

}  // namespace
