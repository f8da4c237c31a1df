#include "lmkutils/files/file_spec.h"

#include <algorithm>
#include <list>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/fault/directory.h"

namespace du {

// For gtest's messages.
void PrintTo(const FileSpec& spec, std::ostream* out) {
  std::string text;
  spec.GetDrive(&text);
  *out << "drive <" << text << "> directories";
  std::for_each(spec.DirBegin(), spec.DirEnd(),
                [out](const std::string& name) { *out << " <" << name << '>'; });
  spec.GetFileBaseName(&text);
  *out << " base <" << text << '>';
  spec.GetFileExtension(&text);
  *out << " extension <" << text << '>' << (spec.IsAbsolute() ? " absolute" : " relative");
}

namespace {

using os::fault::PretendCapabilities;
using os::fault::PretendCurrentDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

os::Capabilities Facts(bool drives) {
  os::Capabilities facts = os::GetCapabilities();
  facts.absolutePathsHaveDrive = drives;
  return facts;
}

struct Parts {
  std::string drive;
  std::vector<std::string> directories;
  std::string base;
  std::string extension;
  bool absolute = false;

  bool operator==(const Parts&) const = default;
  auto Key() const { return std::tie(drive, absolute, directories, base, extension); }
};

void PrintTo(const Parts& parts, std::ostream* out) {
  FileSpec spec;
  spec.SetDrive(parts.drive);
  for (const std::string& name : parts.directories) spec.DirPushBack(name);
  spec.SetFileBaseName(parts.base);
  spec.SetFileExtension(parts.extension);
  if (parts.absolute) spec.MarkAsAbsolute();
  PrintTo(spec, out);
}

Parts PartsOf(const FileSpec& spec) {
  Parts parts;
  parts.directories.assign(spec.DirBegin(), spec.DirEnd());
  parts.absolute = spec.IsAbsolute();
  spec.GetDrive(&parts.drive);
  spec.GetFileBaseName(&parts.base);
  spec.GetFileExtension(&parts.extension);
  return parts;
}

std::string FullText(const FileSpec& spec) {
  std::string text = "replaced";
  EXPECT_TRUE(spec.GetFileSpec(&text));
  return text;
}

std::string Location(const FileSpec& spec, bool withTrailingSeparator) {
  std::string text = "replaced";
  EXPECT_TRUE(spec.GetLocation(&text, withTrailingSeparator));
  return text;
}

// Every case on a target whose paths have no drives, so that a leading separator asks nobody.
class FileSpecTest : public testing::Test {
 private:
  PretendCapabilities withoutDrives_{Facts(false)};
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
  const PretendCapabilities withDrives(Facts(true));
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
    const PretendCapabilities withDrives(Facts(true));
    FileSpec spec("C:\\a");
    spec.SetDirPath("\\b");  // has a drive already
    for (const char* text : {"", "a", "a/b", "C:", "C:/a", "//srv", "//srv/share/a"}) spec = text;
  }
  const PretendCapabilities withoutDrives(Facts(false));
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

// -- Random text against a model that takes it apart by other means.

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
    const std::string head = text.substr(0, end);
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

TEST_F(FileSpecTest, AgreesWithTheModel) {
  RandomText random("\\\\//..::aC125");
  FileSpec reused;
  for (int round = 0; round < kRounds; ++round) {
    const std::string text = random(14);
    reused = text;
    ASSERT_EQ(PartsOf(reused), ModelOf(text)) << text;
    ASSERT_EQ(FileSpec(TextThatParsesBack(text, reused)), reused) << text;
  }
}

TEST_F(FileSpecTest, OrderAgreesWithTheModel) {
  RandomText random("\\/.aAb\xC3");
  std::vector<FileSpec> specs;
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

TEST_F(FileSpecTest, DotRemovalAgreesWithTheModel) {
  RandomText random("//..ab");
  for (int round = 0; round < kRounds; ++round) {
    FileSpec spec(random(24) + "/f");
    const std::vector<std::string> expected = CancelOneByOne(PartsOf(spec).directories);
    spec.RemoveDotAndDotDot();
    ASSERT_EQ(PartsOf(spec).directories, expected);
  }
}

// A relative path, followed from its base, leads to the file.
TEST_F(FileSpecTest, RelativePathsLeadBack) {
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
