#include "lmkutils/files/file_spec.h"

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/testing/file_spec_parts.h"
#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/fault/directory.h"

namespace du {
namespace {

using os::fault::PretendCapabilities;
using os::fault::PretendCurrentDirectory;
using testing::ElementsAre;
using testing::IsEmpty;
using Parts = FileSpecParts;

// Every case on a target whose paths have no drives, so that a leading separator asks nobody.
class FileSpecTest : public testing::Test {
 private:
  PretendCapabilities withoutDrives_{FactsWithDrives(false)};
};

TEST_F(FileSpecTest, TakesTextApart) {
  const std::pair<std::string, Parts> cases[] = {
      {"", {}},
      {"b.c", {"", {}, "b", "c"}},
      {R"(C:foo\bar.txt)", {"C", {"foo"}, "bar", "txt"}},
      {R"(c:\foo\bar.txt)", {"C", {"foo"}, "bar", "txt", true}},
      {"c:", {"C", {}, "", ""}},
      {"C:/", {"C", {}, "", "", true}},
      {"C:D:x", {"C", {}, "D:x", ""}},
      {"1:x", {"", {}, "1:x", ""}},
      {"\xC4:x", {"", {}, "\xC4:x", ""}},
      {"a//b///c.d", {"", {"a", "b"}, "c", "d"}},
      {R"(/a\b/)", {"", {"a", "b"}, "", "", true}},
      {R"(\\srv\share\a\b.c)", {R"(\\srv\share)", {"a"}, "b", "c", true}},
      {R"(/\srv///share/b.c)", {R"(\\srv\share)", {}, "b", "c", true}},
      {"//srv/share", {R"(\\srv\share)", {}, "", "", true}},
      {R"(\\srv)", {R"(\\srv)", {}, "", ""}},
      {R"(\\srv\)", {R"(\\srv\)", {}, "", ""}},
      {R"(\\srv\\\)", {R"(\\srv\)", {}, "", ""}},
      {R"(\\)", {R"(\\)", {}, "", ""}},
      {"///a", {R"(\\\a)", {}, "", "", true}},
      {R"(\\?\C:\x)", {R"(\\?\C:)", {}, "x", "", true}},
      {R"(..\.\x)", {"", {"..", "."}, "x", ""}},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(PartsOf(FileSpec(text)), expected) << text;
    EXPECT_EQ(PartsOf(FileSpec(text.c_str())), expected) << text;
  }
  EXPECT_TRUE(FileSpec(static_cast<const char*>(nullptr)).empty());
  EXPECT_EQ(PartsOf(FileSpec(std::string("a\0/b", 4))), (Parts{"", {std::string("a\0", 2)}, "b", ""}));
}

TEST_F(FileSpecTest, SplitsFileNames) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"part.prt.12", "part", "prt.12"},
      {"a.3", "a", "3"},
      {"x.prt.7", "x", "prt.7"},
      {"x.prt.254", "x", "prt.254"},
      {"x.prt.255", "x.prt", "255"},
      {"x.prt.0", "x.prt", "0"},
      {"x.prt.000", "x.prt", "000"},
      {"x.prt.007", "x", "prt.007"},
      {"x.prt.4294967297", "x.prt", "4294967297"},
      {"x.prt.100000000000000000000000000001", "x.prt", "100000000000000000000000000001"},
      {"x.prt.1a", "x.prt", "1a"},
      {"x.prt.-1", "x.prt", "-1"},
      {"x.prt.\xD9\xA1", "x.prt", "\xD9\xA1"},  // an Arabic digit
      {"x.y.z.1", "x", "y.z.1"},
      {"x..1", "x", ".1"},
      {".5", "", "5"},
      {".profile", "", "profile"},
      {"log.2024", "log", "2024"},
      {"a.tar.gz", "a.tar", "gz"},
      {"a.", "a", ""},
      {"x.1.", "x.1", ""},
      {".", ".", ""},
      {"..", "..", ""},
      {"...", "...", ""},
      {"...a", "..", "a"},
      {"12", "12", ""},
      {"", "", ""},
  };
  for (const auto& [name, base, extension] : cases) {
    const Parts parts = PartsOf(FileSpec("d/" + name));
    EXPECT_EQ(parts.base, base) << name;
    EXPECT_EQ(parts.extension, extension) << name;
    FileSpec set;
    set.SetFile(name);
    EXPECT_EQ(PartsOf(set), (Parts{"", {}, base, extension})) << name;
  }
}

TEST_F(FileSpecTest, BuildsText) {
  struct Case {
    std::string text, full, location, locationAndSeparator;
  };
  const Case cases[] = {
      {"", "", "", ""},
      {"b.c", "b.c", "", ""},
      {"C:foo/bar.txt", R"(C:foo\bar.txt)", "C:foo", R"(C:foo\)"},
      {"C:bar", "C:bar", "C:", "C:"},
      {"c:/bar", R"(C:\bar)", R"(C:\)", R"(C:\)"},
      {"/a/b/c", R"(\a\b\c)", R"(\a\b)", R"(\a\b\)"},
      {"/", R"(\)", R"(\)", R"(\)"},
      {"//srv/share/a/b.c", R"(\\srv\share\a\b.c)", R"(\\srv\share\a)", R"(\\srv\share\a\)"},
      {"//srv/share", R"(\\srv\share\)", R"(\\srv\share\)", R"(\\srv\share\)"},
      {"//srv", R"(\\srv\)", R"(\\srv)", R"(\\srv\)"},
      {"//srv/", R"(\\srv\)", R"(\\srv\)", R"(\\srv\)"},
      {"a/b:/c", R"(a\b:\c)", R"(a\b:)", R"(a\b:\)"},  // only the drive's ':' needs no separator
  };
  for (const Case& c : cases) {
    const FileSpec spec(c.text);
    EXPECT_EQ(FullText(spec), c.full) << c.text;
    EXPECT_EQ(Location(spec, false), c.location) << c.text;
    EXPECT_EQ(Location(spec, true), c.locationAndSeparator) << c.text;
  }
}

TEST_F(FileSpecTest, KeepsUncServersApartFromRelativeDirectories) {
  FileSpec spec;
  spec.SetDrive(R"(\\srv)");
  spec.DirPushBack("a");
  EXPECT_EQ(Location(spec, false), R"(\\srv\a)");
  spec.SetDrive(R"(\\srv\)");
  EXPECT_EQ(Location(spec, false), R"(\\srv\a)");
}

TEST_F(FileSpecTest, GettersTellWhetherThereIsSomething) {
  const FileSpec nothing;
  const FileSpec root("/");
  const FileSpec all("C:a/b.c");
  const auto get = [](const FileSpec& spec, auto getter) {
    std::string text = "old";
    const bool result = getter(spec, &text);
    EXPECT_FALSE(getter(spec, nullptr));
    return std::pair(result, text);
  };
  const auto drive = [](const FileSpec& spec, std::string* out) { return spec.GetDrive(out); };
  const auto file = [](const FileSpec& spec, std::string* out) { return spec.GetFile(out); };
  const auto dirs = [](const FileSpec& spec, std::string* out) { return spec.GetDirPath(out, true); };
  const auto base = [](const FileSpec& spec, std::string* out) { return spec.GetFileBaseName(out); };
  const auto extension = [](const FileSpec& spec, std::string* out) { return spec.GetFileExtension(out); };
  using Answer = std::pair<bool, std::string>;
  EXPECT_EQ(get(nothing, drive), Answer(false, ""));
  EXPECT_EQ(get(nothing, file), Answer(false, ""));
  EXPECT_EQ(get(nothing, dirs), Answer(false, ""));
  EXPECT_EQ(get(nothing, base), Answer(true, ""));
  EXPECT_EQ(get(nothing, extension), Answer(true, ""));
  EXPECT_EQ(get(root, dirs), Answer(false, "\\"));
  EXPECT_EQ(get(all, drive), Answer(true, "C"));
  EXPECT_EQ(get(all, file), Answer(true, "b.c"));
  EXPECT_EQ(get(all, dirs), Answer(true, "a\\"));
  EXPECT_FALSE(all.GetFileSpec(nullptr));
  EXPECT_FALSE(all.GetLocation(nullptr, true));
}

TEST_F(FileSpecTest, SettersReplaceTheirPartsAlone) {
  FileSpec spec("C:\\a\\b.c");
  spec.SetLocation("d/e/f.g");
  EXPECT_EQ(PartsOf(spec), (Parts{"", {"d", "e", "f.g"}, "b", "c"}));
  spec.SetLocation("//srv/share/x/");
  EXPECT_EQ(PartsOf(spec), (Parts{R"(\\srv\share)", {"x"}, "b", "c", true}));
  spec.SetDirPath("y");
  EXPECT_EQ(PartsOf(spec), (Parts{R"(\\srv\share)", {"y"}, "b", "c"}));
  spec.SetDirPath("d:/y/z");
  EXPECT_EQ(PartsOf(spec), (Parts{"D", {"y", "z"}, "b", "c", true}));
  spec.SetDirPath("");
  EXPECT_EQ(PartsOf(spec), (Parts{"D", {}, "b", "c"}));
  spec.SetFileBaseName("x.y/z");
  spec.SetFileExtension(".w");
  spec.SetDrive("q");
  EXPECT_EQ(PartsOf(spec), (Parts{"q", {}, "x.y/z", ".w"}));
  spec = std::string("n");
  EXPECT_EQ(PartsOf(spec), (Parts{"", {}, "n", ""}));
  spec = "/";
  EXPECT_FALSE(spec.empty());
  spec.clear();
  EXPECT_TRUE(spec.empty());
}

// Text that lies in the object which is being overwritten.
TEST_F(FileSpecTest, TakesItsOwnPartsAsText) {
  const FileSpec original(
      "//a-server-name/a-share-of-it/a-long-directory-name/another-one/base-name-of-file.extension");
  FileSpec spec = original;
  spec = *spec.DirBegin();
  EXPECT_EQ(spec, FileSpec("a-long-directory-name"));
  spec = original;
  spec.SetLocation(spec.DirBack());
  EXPECT_EQ(FullText(spec), R"(another-one\base-name-of-file.extension)");
  spec = original;
  spec.SetFileBaseName("base-name.part.1");
  std::string& last = *(spec.DirEnd() - 1);
  last = "long-base-name-of-a-file.part.17";
  spec.SetFile(last);
  EXPECT_EQ(PartsOf(spec).extension, "part.17");
  spec = spec.DirBegin()->c_str() + 2;
  EXPECT_EQ(spec, FileSpec("long-directory-name"));
}

TEST(FileSpecDriveTest, RootRelativePathsTakeTheCurrentDrive) {
  const PretendCapabilities withDrives(FactsWithDrives(true));
  {
    const PretendCurrentDirectory current("d:\\work\\here");
    EXPECT_EQ(PartsOf(FileSpec(R"(\x\y.z)")), (Parts{"D", {"x"}, "y", "z", true}));
    FileSpec spec;
    spec.SetDirPath("/a");
    EXPECT_EQ(PartsOf(spec), (Parts{"D", {"a"}, "", "", true}));
    EXPECT_EQ(current.Asked(), 2u);
  }
  {
    const PretendCurrentDirectory current(R"(\\srv\share\work)");
    EXPECT_EQ(FullText(FileSpec("/x")), R"(\\srv\share\x)");
  }
  const PretendCurrentDirectory unreadable("C:\\", 5);
  EXPECT_EQ(PartsOf(FileSpec("/x/y")), (Parts{"", {"x"}, "y", "", true}));
}

TEST(FileSpecDriveTest, OthersDoNotAskForTheCurrentDirectory) {
  const PretendCurrentDirectory current("D:\\work");
  {
    const PretendCapabilities withDrives(FactsWithDrives(true));
    FileSpec spec("C:\\a");
    spec.SetDirPath("\\b");  // has a drive already
    for (const char* text : {"", "a", "a/b", "C:", "C:/a", "//srv", "//srv/share/a"}) spec = text;
  }
  const PretendCapabilities withoutDrives(FactsWithDrives(false));
  EXPECT_EQ(PartsOf(FileSpec("/x")), (Parts{"", {}, "x", "", true}));
  EXPECT_EQ(current.Asked(), 0u);
}

TEST_F(FileSpecTest, IsAbsoluteOfText) {
  for (const char* text : {"/", "\\a", "//srv", "\\\\", "C:/", "z:\\a"}) {
    EXPECT_TRUE(FileSpec::IsAbsolute(text)) << text;
    EXPECT_TRUE(FileSpec::IsAbsolute(std::string(text))) << text;
  }
  for (const char* text : {"", "a", "a/b", "C:", "C", "C:a", "1:/", ".", "CC:/"}) {
    EXPECT_FALSE(FileSpec::IsAbsolute(text)) << text;
    EXPECT_FALSE(FileSpec::IsAbsolute(std::string(text))) << text;
  }
  EXPECT_FALSE(FileSpec::IsAbsolute(static_cast<const char*>(nullptr)));
}

TEST_F(FileSpecTest, RemovesDots) {
  const std::pair<std::string, Parts> cases[] = {
      {R"(a\.\b\..\..\c)", {"", {}, "c", ""}},
      {R"(dir\..)", {"", {}, ".", ""}},
      {R"(C:\dir\..)", {"C", {}, "", "", true}},
      {R"(C:dir\..)", {"C", {}, "", ""}},
      {R"(\dir\..)", {"", {}, "", "", true}},
      {R"(\\srv\share\.)", {R"(\\srv\share)", {}, "", "", true}},
      {".", {"", {}, ".", ""}},
      {"C:.", {"C", {}, "", ""}},
      {"..", {"", {}, "..", ""}},
      {R"(C:\..)", {"C", {}, "..", "", true}},
      {R"(..\..)", {"", {".."}, "..", ""}},
      {R"(a\..\..\..)", {"", {".."}, "..", ""}},
      {R"(..\.)", {"", {}, "..", ""}},
      {R"(..\a\..)", {"", {}, "..", ""}},
      {R"(a\b\..)", {"", {}, "a", ""}},
      {R"(a\b\.)", {"", {"a"}, "b", ""}},
      {R"(a\b.x\c\..)", {"", {"a"}, "b", "x"}},
      {R"(a\part.prt.12\.)", {"", {"a"}, "part.prt", "12"}},
      {R"(...\.)", {"", {}, "...", ""}},
      {R"(\..\..\a\b)", {"", {"..", "..", "a"}, "b", "", true}},
      {R"(.\.\x)", {"", {}, "x", ""}},
      {R"(a\..\.x)", {"", {}, "", "x"}},
  };
  for (const auto& [text, expected] : cases) {
    FileSpec spec(text);
    spec.RemoveDotAndDotDot();
    EXPECT_EQ(PartsOf(spec), expected) << text;
    const FileSpec once = spec;
    spec.RemoveDotAndDotDot();
    EXPECT_EQ(spec, once) << text;
  }
}

TEST_F(FileSpecTest, RelativePaths) {
  struct Case {
    std::string path, base;
    bool steps;
    std::string expected;
  };
  const Case cases[] = {
      {R"(C:\a\b\f.x)", "C:/a", false, R"(b\f.x)"},
      {R"(C:\a\b\f.x)", "c:/a/b/", false, "f.x"},
      {R"(C:\a\b\)", "C:/a/b", false, ""},
      {R"(C:\a\f)", "C:/a/b/c", true, R"(..\..\f)"},
      {R"(C:\a\f)", "C:/a/b/c", false, R"(C:\a\f)"},
      {R"(C:\a\f)", "C:/x", true, R"(..\a\f)"},
      {R"(C:\a\f)", "C:/A", true, R"(..\a\f)"},
      {R"(C:\a\f)", "D:/a", true, R"(C:\a\f)"},
      {R"(C:\a\f)", "a", true, R"(C:\a\f)"},
      {R"(C:\a\f)", "C:a", true, R"(C:\a\f)"},
      {R"(a\f)", "", false, R"(a\f)"},
      {R"(a\f)", "..", true, R"(a\f)"},
      {R"(..\a\f)", "../b", true, R"(..\a\f)"},
      {R"(\\s\x\a\f)", "//s/x", false, R"(a\f)"},
      {R"(\\s\x\a\f)", "//s/y", true, R"(\\s\x\a\f)"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(FileSpec(c.path).GetRelativePath(c.base, c.steps), c.expected) << c.path << " from " << c.base;
  }
}

TEST_F(FileSpecTest, DirectoryList) {
  FileSpec spec;
  EXPECT_EQ(spec.DirFront(), "");
  EXPECT_EQ(spec.DirBack(), "");
  spec.DirPopBack();
  spec.DirPopFront();
  spec.DirPushBack("");
  spec.DirPushFront("");
  EXPECT_EQ(spec.DirInsert(spec.DirBegin(), ""), spec.DirBegin());
  EXPECT_EQ(spec.DirCount(), 0u);

  spec.DirPushBack("b");
  spec.DirPushFront("a");
  auto at = spec.DirInsert(spec.DirBegin() + 1, "x");
  EXPECT_EQ(*at, "x");
  at = spec.DirErase(at);
  EXPECT_EQ(*at, "b");
  *at = "c";
  EXPECT_EQ(Location(spec, false), R"(a\c)");

  const std::vector<std::string> more = {"", "1", "", "2"};
  at = spec.DirInsert(spec.DirEnd(), more.begin(), more.end());
  EXPECT_EQ(*at, "1");
  EXPECT_THAT(PartsOf(spec).directories, ElementsAre("a", "c", "1", "2"));
  // The list into itself, and a name of its own.
  spec.DirInsert(spec.DirBegin() + 1, std::as_const(spec).DirBegin(), std::as_const(spec).DirEnd());
  EXPECT_THAT(PartsOf(spec).directories, ElementsAre("a", "a", "c", "1", "2", "c", "1", "2"));
  spec.DirPushFront(spec.DirBack());
  EXPECT_EQ(spec.DirFront(), "2");
  at = spec.DirErase(spec.DirBegin() + 2, spec.DirEnd() - 1);
  EXPECT_EQ(at, spec.DirEnd() - 1);
  spec.DirPopFront();
  EXPECT_THAT(PartsOf(spec).directories, ElementsAre("a", "2"));
  spec.DirPopBack();
  spec.DirErase(spec.DirBegin());
  EXPECT_THAT(PartsOf(spec).directories, IsEmpty());
}

}  // namespace
}  // namespace du
