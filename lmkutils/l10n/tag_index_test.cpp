#include "lmkutils/l10n/internal/tag_index.h"

#include <map>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using du::internal::TagIndex;

std::vector<std::string_view> Views(const std::vector<std::string>& tags) {
  return {tags.begin(), tags.end()};
}

TEST(TagIndex, FindsWhatAMapFinds) {
  std::mt19937 random(3);
  const std::string alphabet = "ab_\x01\x7F\x80\xFF";
  const auto randomTag = [&] {
    std::string tag(random() % 14, ' ');
    for (char& c : tag) c = alphabet[random() % (1 + random() % alphabet.size())];
    return tag;
  };
  for (int round = 0; round < 300; ++round) {
    std::map<std::string, int> model;
    std::vector<std::string> tags;
    const std::string prefix(random() % 3 * 8, 'p');
    for (auto i = random() % 200; i > 0; --i) {
      const std::string tag = prefix + randomTag();
      if (model.emplace(tag, static_cast<int>(tags.size())).second) tags.push_back(tag);
    }
    TagIndex index;
    ASSERT_EQ(TagIndex::kNone, index.Build(Views(tags)));
    ASSERT_TRUE(index.IsConsistent(Views(tags)));
    for (int i = 0; i < 200; ++i) {
      const std::string tag = prefix + randomTag();
      const auto expected = model.find(tag);
      ASSERT_EQ(expected != model.end() ? expected->second : TagIndex::kNone, index.Find(tag.c_str()));
    }
  }
}

TEST(TagIndex, TellsTheFirstRepetition) {
  const std::vector<std::pair<std::vector<std::string>, std::int32_t>> cases{
      {{"a", "b"}, TagIndex::kNone},
      {{"", ""}, 1},
      {{"b", "a", "a", "b"}, 2},
      {{"x", "y", "y", "x", "y"}, 2},
      {{"aaaaaaaaaaaa1", "aaaaaaaaaaaa"}, TagIndex::kNone},
      {{"abcdefghijk", "z", "abcdefghijk"}, 2},
  };
  for (const auto& [tags, expected] : cases) {
    TagIndex index;
    EXPECT_EQ(expected, index.Build(Views(tags))) << tags[0];
  }
}

TEST(TagIndex, FindsNothingWhenEmpty) {
  EXPECT_EQ(TagIndex::kNone, TagIndex().Find(""));
  TagIndex index;
  EXPECT_EQ(TagIndex::kNone, index.Build({}));
  EXPECT_EQ(TagIndex::kNone, index.Find(""));
  EXPECT_TRUE(index.IsConsistent({}));
}

}  // namespace
