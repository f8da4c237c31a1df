#include "lmkutils/files/find_file.h"

#include <filesystem>
#include <set>
#include <string>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/wildcard.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"
#include "lmkutils/text/symbol.h"

namespace du {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FindFileTest : public testing::Test {
 protected:
  std::set<std::string> Find(const std::string& name,
                             FindFile::TypeConstraint constraint = FindFile::ANY_TYPE) {
    std::set<std::string> found;
    for (FileSpec file = find_.FindFirstFileName(dir_.File(name), constraint); !file.empty();
         file = find_.GetNextFileName()) {
      std::string text;
      file.GetFile(&text);
      found.insert(text);
    }
    return found;
  }

  const lmktest::TempDir dir_;
  FindFile find_;
};

TEST(WildcardTest, Matches) {
  struct Row {
    const char* pattern;
    const char* name;
    bool matches;
  };
  constexpr Row kRows[] = {
      {"*", "", true},
      {"*", "a.b", true},
      {"?", "", false},
      {"?", "\xE2\x82\xAC", true},
      {"??", "\xC3\xA4", false},
      {"a*c", "abbc", true},
      {"a*c", "abcd", false},
      {"*.prt", "x.prt", true},
      {"*.prt", "x.prt.1", false},
      {"*a*b*c", "xxaxxbxxbxc", true},
      {"[a]", "a", false},
      {"[a]", "[a]", true},
      {"a", "a", true},
      {"a", "", false},
      {"a?*", "a", false},
      {"*?", "ab", true},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(internal::MatchesWildcards(row.pattern, row.name), row.matches)
        << row.pattern << " " << row.name;
  }
  // A pattern that would take for ever by trying all ways.
  std::string pattern;
  for (int i = 0; i < 30; ++i) pattern += "a*";
  EXPECT_FALSE(internal::MatchesWildcards(pattern + "b", std::string(10000, 'a')));
}

TEST_F(FindFileTest, FindsByPatternAndType) {
  for (const char* name : {"a.prt", "b.prt.7", "plain", "end.txt", "\xC3\xA4.prt"}) dir_.Write(name, "x");
  ASSERT_EQ(FileSystem::Mkdir(dir_.File("d.prt").c_str()), 0);
  EXPECT_THAT(Find("*.prt"), ElementsAre("a.prt", "d.prt", "\xC3\xA4.prt"));
  EXPECT_THAT(Find("*.prt", FindFile::FILES_ONLY), ElementsAre("a.prt", "\xC3\xA4.prt"));
  EXPECT_THAT(Find("*", FindFile::DIRECTORIES_ONLY), ElementsAre("d.prt"));
  EXPECT_THAT(Find("*.*"), testing::SizeIs(6));
  EXPECT_THAT(Find("plain"), ElementsAre("plain"));
  EXPECT_THAT(Find("missing"), IsEmpty());
  EXPECT_THAT(Find(""), IsEmpty());
  EXPECT_THAT(Find("nowhere/*"), IsEmpty());
  EXPECT_EQ(FileSystem::GetLastErrorCode(), os::GetCapabilities().absolutePathsHaveDrive
                                                ? FileSystem::kOtherError
                                                : FileSystem::kFileNotFound);
  EXPECT_EQ(FindFile::NO_ENTRY, find_.GetEntryType());
  find_.FindFirstFileName(dir_.File("d*"), FindFile::ANY_TYPE);
  EXPECT_EQ(FindFile::DIRECTORY_ENTRY, find_.GetEntryType());
  find_.FindFirstFileName(dir_.File("a*"), FindFile::ANY_TYPE);
  EXPECT_EQ(FindFile::FILE_ENTRY, find_.GetEntryType());
  const bool ignoresCase = os::GetCapabilities().absolutePathsHaveDrive;
  EXPECT_EQ(Find("A.PRT").size(), ignoresCase ? 1U : 0U);
  EXPECT_EQ(Find("\xC3\x84.prt").size(), ignoresCase ? 1U : 0U);
}

TEST_F(FindFileTest, ResultIsTheLocationWithTheName) {
  dir_.Write("b.prt.7", "x");
  const Symbol pattern(dir_.File("b*"));
  const FileSpec first = find_.FindFirstFileName(pattern, FindFile::FILES_ONLY);
  EXPECT_EQ(first, FileSpec(dir_.File("b.prt.7")));
  EXPECT_TRUE(find_.GetNextFileName().empty());
  EXPECT_TRUE(find_.GetNextFileName().empty());
  EXPECT_TRUE(FindFile().GetNextFileName().empty());
  EXPECT_TRUE(find_.FindFirstFileName(static_cast<const char*>(nullptr), FindFile::ANY_TYPE).empty());
  find_.FindFirstFileName(dir_.File("*").c_str(), FindFile::ANY_TYPE);
  EXPECT_TRUE(find_.FindFirstFileName(dir_.File("x"), FindFile::ANY_TYPE).empty())
      << "closes the running one";
}

TEST_F(FindFileTest, NamesThatOnlyLinuxCanHave) {
  if (os::GetCapabilities().absolutePathsHaveDrive) GTEST_SKIP() << "such names cannot be made here";
  for (const char* name : {"a\\b", "\xFF", "dot.", "new\nline"}) {
    std::filesystem::rename(dir_.Write("x", "x"), dir_.Path() + "/" + name);
  }
  std::filesystem::create_directory_symlink(dir_.Path(), dir_.File("loop"));
  lmktest::TraceRecorder recorder;
  EXPECT_THAT(Find("*"), ElementsAre("dot.", "loop", "new\nline"));
  EXPECT_THAT(recorder.TakeTexts(), testing::SizeIs(2));
  EXPECT_THAT(Find("l*", FindFile::DIRECTORIES_ONLY), ElementsAre("loop"));
  EXPECT_THAT(Find("l*", FindFile::FILES_ONLY), IsEmpty());
  find_.FindFirstFileName(dir_.File("l*"), FindFile::DIRECTORIES_ONLY);
  EXPECT_EQ(FindFile::LINK_ENTRY, find_.GetEntryType());
}

}  // namespace
}  // namespace du
