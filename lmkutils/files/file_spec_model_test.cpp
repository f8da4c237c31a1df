// Random text against a model that takes it apart by other means.
#include <algorithm>
#include <cstddef>
#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/testing/file_spec_parts.h"
#include "lmkutils/os/fault/capabilities.h"

namespace du {
namespace {

using Parts = FileSpecParts;

class FileSpecModelTest : public testing::Test {
 private:
  os::fault::PretendCapabilities withoutDrives_{FactsWithDrives(false)};
};

constexpr int kRounds = 20000;

class RandomText {
 public:
  explicit RandomText(std::string alphabet) : alphabet_(std::move(alphabet)) {}
  std::string operator()(std::size_t longest) {
    std::string text(random_() % (longest + 1), '\0');
    std::generate(text.begin(), text.end(), [this] { return alphabet_[random_() % alphabet_.size()]; });
    return text;
  }

 private:
  std::string alphabet_;
  std::mt19937 random_{20250101};
};

bool IsModelVersion(std::string digits) {
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return false;
  digits.erase(0, digits.find_first_not_of('0'));
  return !digits.empty() && digits.size() <= 3 && std::stoi(digits) <= 254;
}

void SplitModelName(const std::string& name, Parts& parts) {
  const bool dotsAlone = name == std::string(name.size(), '.');
  std::size_t dot = dotsAlone ? std::string::npos : name.rfind('.');
  if (dot != std::string::npos && IsModelVersion(name.substr(dot + 1))) dot = name.find('.');
  parts.base = name.substr(0, dot);
  if (dot != std::string::npos) parts.extension = name.substr(dot + 1);
}

// All separators made one first, then cut from the left.
Parts ModelOf(std::string text) {
  Parts parts;
  std::replace(text.begin(), text.end(), '/', '\\');
  const auto cutUntil = [&text](std::size_t end) {
    std::string head = text.substr(0, end);
    text.erase(0, head.size());
    return head;
  };
  if (text.size() > 1 && text[1] == ':' && std::string("aC").find(text[0]) != std::string::npos) {
    parts.drive = cutUntil(2)[0] == 'a' ? "A" : "C";
  } else if (text.starts_with("\\\\")) {
    parts.drive = cutUntil(text.find('\\', 2));
    if (!text.empty()) parts.drive += cutUntil(1);
    cutUntil(text.find_first_not_of('\\'));
    parts.absolute = !text.empty();
    parts.drive += cutUntil(text.find('\\'));
  }
  parts.absolute |= text.starts_with('\\');
  while (text.find('\\') != std::string::npos) {
    const std::string name = cutUntil(text.find('\\'));
    if (!name.empty()) parts.directories.push_back(name);
    cutUntil(1);
  }
  SplitModelName(text, parts);
  return parts;
}

// The text built from `spec`, without what building is known to lose or to add.
std::string TextThatParsesBack(const std::string& text, const FileSpec& spec) {
  const Parts parts = PartsOf(spec);
  const bool serverAlone = parts.drive.starts_with("\\\\") && !parts.absolute;
  const bool dotLost = text.ends_with('.') && parts.base.find_first_not_of('.') != std::string::npos;
  return serverAlone ? Location(spec, false) : FullText(spec) + (dotLost ? "." : "");
}

TEST_F(FileSpecModelTest, AgreesWithTheModel) {
  RandomText random("\\\\//..::aC125");
  FileSpec reused;
  for (int round = 0; round < kRounds; ++round) {
    const std::string text = random(14);
    reused = text;
    ASSERT_EQ(PartsOf(reused), ModelOf(text)) << text;
    ASSERT_EQ(FileSpec(TextThatParsesBack(text, reused)), reused) << text;
  }
}

TEST_F(FileSpecModelTest, OrderAgreesWithTheModel) {
  RandomText random("\\/.aAb\xC3");
  std::vector<FileSpec> specs;
  specs.reserve(150);
  for (int i = 0; i < 150; ++i) specs.emplace_back(random(6));
  for (const FileSpec& left : specs) {
    for (const FileSpec& right : specs) {
      const Parts l = PartsOf(left);
      const Parts r = PartsOf(right);
      ASSERT_EQ(left == right, l == r);
      ASSERT_EQ(left < right, l.Key() < r.Key())
          << testing::PrintToString(left) << testing::PrintToString(right);
    }
  }
}

// The rule step by step: drop every ".", then cancel pairs from the front, stepping back after each.
std::vector<std::string> CancelOneByOne(const std::vector<std::string>& names) {
  std::list<std::string> list(names.begin(), names.end());
  list.remove(".");
  for (auto at = list.begin(); at != list.end();) {
    const auto next = std::next(at);
    if (*at == ".." || next == list.end() || *next != "..") {
      ++at;
      continue;
    }
    at = list.erase(at, std::next(next));
    if (at != list.begin()) --at;
  }
  return {list.begin(), list.end()};
}

TEST_F(FileSpecModelTest, DotRemovalAgreesWithTheModel) {
  RandomText random("//..ab");
  for (int round = 0; round < kRounds; ++round) {
    FileSpec spec(random(24) + "/f");
    const std::vector<std::string> expected = CancelOneByOne(PartsOf(spec).directories);
    spec.RemoveDotAndDotDot();
    ASSERT_EQ(PartsOf(spec).directories, expected);
  }
}

// A relative path, followed from its base, leads to the file.
TEST_F(FileSpecModelTest, RelativePathsLeadBack) {
  RandomText random("/ab");
  for (int round = 0; round < kRounds; ++round) {
    const std::string base = "C:/" + random(8);
    const FileSpec file("C:/" + random(8) + "f");
    FileSpec followed(base + "/" + file.GetRelativePath(base, true));
    followed.RemoveDotAndDotDot();
    ASSERT_EQ(followed, file) << base;
  }
}

}  // namespace
}  // namespace du
