#include "lmkutils/files/zip_reader.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/testing/zip_bytes.h"
#include "lmkutils/files/zip_observer.h"
#include "lmkutils/files/zip_writer.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using lmktest::Bytes;
using lmktest::Crc;
using lmktest::MakeZip;
using lmktest::MakeZipOf;
using lmktest::TempDir;
using lmktest::ZipPart;
using os::fault::Arming;
using os::fault::Call;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// The first problem of each call, and how much was done.
class Watcher : public ZipObserver {
 public:
  bool Progress(const std::string& /*member*/, std::uint64_t bytes) override {
    done += bytes;
    return --callsLeft > 0;
  }
  void Problem(ZipProblem problem, const std::string& /*name*/) override { problems.push_back(problem); }

  std::vector<ZipProblem> problems;
  std::uint64_t done = 0;
  int callsLeft = 1'000'000;
};

// What comes of extracting an archive of these bytes into the folder "out".
struct Outcome {
  bool extracted;
  std::vector<ZipProblem> problems;
};
Outcome ExtractInto(const TempDir& dir, const std::string& bytes, const std::string& which = "*",
                    const ZipLimits& limits = {}) {
  Watcher watcher;
  ZipReader reader(dir.Write("archive.zip", bytes));
  reader.SetObserver(&watcher);
  reader.SetLimits(limits);
  const bool extracted = reader.Extract(which, dir.File("out"));
  return {extracted, watcher.problems};
}

bool Exists(const std::string& path) {
  return FileSystem::FileExists(path.c_str()) || FileSystem::DirExists(path.c_str());
}

TEST(ZipReaderTest, ListsAndExtracts) {
  const TempDir dir;
  const std::string text(1'000'000, 't');
  const std::string archive =
      dir.Write("archive.zip", MakeZipOf({.parts = {{"a.txt", "first"},
                                                    {"sub\\deep/b.txt", text, true},
                                                    {"sub/", ""},
                                                    {"sub/./deep//c", "third", true, 0x0800, 0xFFFFFFFF}},
                                          .before = "an older program",
                                          .comment = "a comment"}));
  ZipReader reader;
  reader.Bind(archive);
  EXPECT_EQ(reader.GetName(), archive);
  std::vector<std::string> names{"old"};
  EXPECT_TRUE(reader.ListContents(&names));
  EXPECT_THAT(names, ElementsAre("a.txt", "sub/deep/b.txt", "sub/", "sub/./deep//c"));
  EXPECT_FALSE(reader.ListContents(nullptr));

  EXPECT_TRUE(reader.Extract("", dir.File("new/all")));
  EXPECT_EQ(dir.Read("new/all/a.txt"), "first");
  EXPECT_EQ(dir.Read("new/all/sub/deep/b.txt"), text);
  EXPECT_EQ(dir.Read("new/all/sub/deep/c"), "third");
  FileStat stat;
  ASSERT_EQ(FileSystem::Stat(dir.File("new/all/sub/deep/b.txt").c_str(), &stat), 0);
  EXPECT_EQ(stat.modificationTime, 1'735'732'800);  // the archive's time as UTC

  EXPECT_TRUE(reader.Extract("sub/deep/b.txt", dir.File("one")));
  EXPECT_FALSE(Exists(dir.File("one/a.txt")));
  EXPECT_EQ(dir.Read("one/sub/deep/b.txt"), text);
  EXPECT_TRUE(reader.Extract("sub/", dir.File("below")));
  EXPECT_FALSE(Exists(dir.File("below/a.txt")));
  EXPECT_EQ(dir.Read("below/sub/deep/c"), "third");
  EXPECT_FALSE(reader.Extract("a", dir.File("none")));
  EXPECT_FALSE(reader.Extract("nothing/", dir.File("none")));
  EXPECT_FALSE(Exists(dir.File("none")));
  EXPECT_FALSE(reader.Extract("*", ""));
}

TEST(ZipReaderTest, NoArchive) {
  const TempDir dir;
  const lmktest::TraceRecorder recorder;
  for (const std::string& bytes :
       {std::string(), std::string("PK"), std::string(100'000, 'x'), MakeZipOf({}).substr(1)}) {
    const std::string path = dir.Write("no.zip", bytes);
    lmktest::TraceRecorder fresh;
    std::vector<std::string> names{"old"};
    EXPECT_FALSE(ZipReader(path).ListContents(&names));
    EXPECT_THAT(names, IsEmpty());
    const auto records = fresh.Take();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.front().text, "Failed to get ToC for ZIP file \"" + path + "\"");
    EXPECT_EQ(records.front().key, "ZipReader");
    EXPECT_EQ(records.front().type, dp::TraceType::Error);
  }
  EXPECT_FALSE(ZipReader(dir.File("missing.zip")).Extract("*", dir.File("out")));
  EXPECT_FALSE(ZipReader(dir.Path()).Test("*"));
  EXPECT_TRUE(ZipReader(dir.Write("empty.zip", MakeZipOf({}))).Test("*"));
}

TEST(ZipReaderTest, Encodings) {
  const TempDir dir;
  const std::string name = "gr\x81\xE1.txt";  // "grüß" in code page 437, as far as that goes
  const std::string utf8 = "gr\xC3\xBC\xC3\x9F.txt";
  const std::string other = "\xCE\xB1.txt";
  const auto unicode = [&](std::uint32_t crc, const std::string& text) {
    return Bytes(0x7075, 2) + Bytes(5 + text.size(), 2) + "\1" + Bytes(crc, 4) + text;
  };
  const std::vector<ZipPart> parts = {
      {.name = name, .plain = "1", .flags = 0},
      {.name = "2-" + utf8, .plain = "2"},
      {.name = "3" + name,
       .plain = "3",
       .flags = 0,
       .extra = Bytes(9, 2) + Bytes(0, 2) + unicode(Crc("3" + name), other)},
      {.name = "4" + name, .plain = "4", .flags = 0, .extra = unicode(1, other)},
      {.name = "5\xFF", .plain = "5"},
      {.name = "6" + name, .plain = "6", .flags = 0, .extra = unicode(Crc("6" + name), "\xFF")},
      {.name = "8" + utf8, .plain = "8", .flags = 0, .madeBy = 3 << 8 | 20},
      {.name = "9" + name, .plain = "9", .flags = 0, .madeBy = 3 << 8 | 20},
      {.name = "7" + name, .plain = "7", .flags = 0, .extra = unicode(Crc("7" + name), other).substr(0, 12)}};
  ZipReader reader(dir.Write("archive.zip", MakeZip(parts)));
  std::vector<std::string> names;
  ASSERT_TRUE(reader.ListContents(&names));
  EXPECT_THAT(names, ElementsAre(utf8, "2-" + utf8, other, "4" + utf8, "5\xC2\xA0", "6" + utf8, "8" + utf8,
                                 "9" + utf8, "7" + utf8));
  EXPECT_TRUE(reader.Extract("*", dir.File("out")));
  EXPECT_EQ(dir.Read("out/" + other), "3");
}

TEST(ZipReaderTest, ExactTimes) {
  const TempDir dir;
  const std::string extra = Bytes(0x5455, 2) + Bytes(5, 2) + "\1" + Bytes(1'700'000'001, 4);
  ASSERT_TRUE(ExtractInto(dir, MakeZip({{.name = "a", .plain = "x", .extra = extra}})).extracted);
  FileStat stat;
  ASSERT_EQ(FileSystem::Stat(dir.File("out/a").c_str(), &stat), 0);
  EXPECT_EQ(stat.modificationTime, 1'700'000'001);
}

TEST(ZipReaderTest, UnsafeNamesRefuseAll) {
  const TempDir dir;
  const std::string names[] = {"../x",     "..\\x",      "/abs",      "\\abs",
                               "C:\\x",    "C:x",        "a/../../x", "a/..",
                               "a:b",      "nul",        "con.txt",   "sub/COM1",
                               "a. ",      "dir./x",     "x ",        "\\\\srv\\share\\x",
                               "//x",      ".",          "",          std::string("a\0b", 3),
                               "aux .txt", "lpt\xC2\xB9"};
  for (const std::string& name : names) {
    for (const bool isFirst : {false, true}) {
      std::vector<ZipPart> parts = {{"good", "x"}};
      parts.insert(isFirst ? parts.begin() : parts.end(), ZipPart{name, "bad"});
      const Outcome outcome = ExtractInto(dir, MakeZip(parts));
      EXPECT_FALSE(outcome.extracted) << name;
      EXPECT_THAT(outcome.problems, ElementsAre(ZipProblem::kUnsafeName)) << name;
      EXPECT_FALSE(Exists(dir.File("out"))) << name;
      EXPECT_FALSE(Exists(dir.File("x"))) << name;
    }
  }
  EXPECT_TRUE(ExtractInto(dir, MakeZip({{"good", "x"}, {"../x", "bad"}}), "good").extracted);
}

TEST(ZipReaderTest, WhatRefusesAll) {
  const TempDir dir;
  const std::string text(20'000, 'x');
  const std::string twice = MakeZip({{"a", "1"}, {"./a", "2"}});
  std::vector<ZipPart> shared = {{"a", text, true}, {"b", text, true}};
  shared[1].offset = 0;
  shared[1].localName = "a";
  // The second member's header lies in the first one's bytes.
  ZipPart inner{"inner", text};
  const std::string nested = MakeZip({inner}).substr(0, 35 + text.size());
  std::vector<ZipPart> quoting = {{"outer", nested}, inner};
  quoting[1].offset = 35;
  const std::pair<std::string, ZipProblem> rows[] = {{twice, ZipProblem::kSameName},
                                                     {MakeZip(quoting), ZipProblem::kOverlap}};
  for (const auto& [bytes, problem] : rows) {
    const Outcome outcome = ExtractInto(dir, bytes);
    EXPECT_FALSE(outcome.extracted);
    EXPECT_THAT(outcome.problems, ElementsAre(problem));
    EXPECT_FALSE(Exists(dir.File("out")));
  }
  // Two entries of one member: they tell of the same header, which has one name.
  EXPECT_THAT(ExtractInto(dir, MakeZip(shared)).problems, ElementsAre(ZipProblem::kHeadersDiffer));
}

TEST(ZipReaderTest, Limits) {
  const TempDir dir;
  const std::string bytes =
      MakeZip({{"a", std::string(500'000, 'x'), true}, {"b", std::string(500'000, 'y'), true}});
  const ZipLimits tooSmall{.totalSize = 999'999};
  const ZipLimits tooDense{.ratio = 100, .freeSize = 1000};
  for (const ZipLimits& limits : {tooSmall, tooDense}) {
    EXPECT_THAT(ExtractInto(dir, bytes, "*", limits).problems, ElementsAre(ZipProblem::kLimit));
    EXPECT_FALSE(Exists(dir.File("out")));
  }
  EXPECT_TRUE(ExtractInto(dir, bytes, "a", tooSmall).extracted);
  EXPECT_TRUE(
      ExtractInto(dir, bytes, "*", {.totalSize = 1'000'000, .ratio = 100, .freeSize = 1'000'000}).extracted);

  // Sizes that lie: less than there is, and far more.
  ZipPart lying{"c", std::string(500'000, 'z'), true};
  lying.size = 10;
  lying.crc = Crc(lying.plain);
  EXPECT_THAT(ExtractInto(dir, MakeZip({lying})).problems, ElementsAre(ZipProblem::kDamaged));
  EXPECT_FALSE(Exists(dir.File("out/c")));
  lying.size = 0xFFFFFFF0;
  EXPECT_THAT(ExtractInto(dir, MakeZip({lying})).problems, ElementsAre(ZipProblem::kLimit));
}

// What cannot be extracted is left out, and whatever else there is extracted.
TEST(ZipReaderTest, MembersThatAreLeftOut) {
  const TempDir dir;
  const std::string text(300'000, 'x');
  std::vector<ZipPart> parts = {
      {.name = "crc", .plain = text, .deflated = true, .crc = 1},
      {.name = "stored crc", .plain = text, .crc = 1},
      {.name = "encrypted", .plain = "x", .flags = 0x0801},
      {.name = "method", .plain = "x", .method = 12},
      {.name = "link", .plain = "/etc", .madeBy = 3 << 8 | 20, .attributes = 0120777U << 16},
      {.name = "size", .plain = text, .deflated = true, .size = 400'000},
      {.name = "stored size", .plain = text, .size = 400'000},
      {.name = "local crc", .plain = "x", .localCrc = 1},
      {.name = "local name", .plain = "x", .localName = "local fame"},
      {.name = "longer name", .plain = "x", .localName = "local name too"},
      {.name = "local size", .plain = "x", .localSize = 2},
      {.name = "offset", .plain = "x", .offset = 5},
      {.name = "far", .plain = "x", .offset = 0x7FFFFFFF},
      {.name = "garbage", .plain = "not deflate data", .method = 8}};
  const std::vector<ZipProblem> problems = {
      ZipProblem::kDamaged,       ZipProblem::kDamaged,       ZipProblem::kEncrypted,
      ZipProblem::kUnknownMethod, ZipProblem::kLink,          ZipProblem::kDamaged,
      ZipProblem::kHeadersDiffer, ZipProblem::kHeadersDiffer, ZipProblem::kHeadersDiffer,
      ZipProblem::kHeadersDiffer, ZipProblem::kHeadersDiffer, ZipProblem::kHeadersDiffer,
      ZipProblem::kHeadersDiffer, ZipProblem::kDamaged};
  parts.push_back({"good", text, true});
  const Outcome outcome = ExtractInto(dir, MakeZip(parts));
  EXPECT_FALSE(outcome.extracted);
  EXPECT_EQ(outcome.problems, problems);
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(dir.File("out")))
    found.push_back(entry.path().filename().string());
  EXPECT_THAT(found, ElementsAre("good"));
  Watcher watcher;
  ZipReader reader(dir.File("archive.zip"));
  reader.SetObserver(&watcher);
  EXPECT_FALSE(reader.Test("*"));
  EXPECT_EQ(watcher.problems, problems);
  EXPECT_TRUE(reader.Test("good"));
}

// Sizes and checksum behind the data, with and without a signature.
TEST(ZipReaderTest, DataDescriptors) {
  const TempDir dir;
  for (const std::string& signature : {std::string(), std::string("PK\7\x8")}) {
    ZipPart part{"a", "some text", true, 0x0808};
    part.localCrc = 0;
    part.localSize = 0;
    const std::string after = signature + Bytes(Crc(part.plain), 4) + Bytes(11, 4) + Bytes(9, 4);
    EXPECT_TRUE(ExtractInto(dir, MakeZipOf({.parts = {part}, .between = after})).extracted);
    EXPECT_EQ(dir.Read("out/a"), part.plain);
  }
}

TEST(ZipReaderTest, AnOlderFileStaysUntilTheNewOneIsComplete) {
  const TempDir dir;
  const std::string old = "old";
  for (const std::size_t size : {10U, 1'000'000U}) {
    const std::string text(size, 'n');
    const std::string good = MakeZip({{"sub/file", text, true}});
    ZipPart damaged{"sub/file", text, true};
    damaged.crc = 1;
    ASSERT_TRUE(FileSystem::BuildPath(dir.File("out/sub"), false));
    dir.Write("out/sub/file", old);
    EXPECT_FALSE(ExtractInto(dir, MakeZip({damaged})).extracted);
    EXPECT_EQ(dir.Read("out/sub/file"), old);
    for (const Call call : {Call::kFileRead, Call::kFileWrite, Call::kFileCreate, Call::kFileStatus,
                            Call::kFileClose, Call::kFileRename, Call::kTreeStep}) {
      for (std::uint64_t k = 1; k < 50; ++k) {
        bool extracted;
        std::uint64_t calls;
        {
          dir.Write("archive.zip", good);
          const Arming fault(call, {.first = k, .error = os::kErrorDiskFull, .cutTo = 5});
          extracted = ZipReader(dir.File("archive.zip")).Extract("*", dir.File("out"));
          calls = os::fault::CountOf(call);
        }
        EXPECT_EQ(dir.Read("out/sub/file"), extracted ? text : old) << static_cast<int>(call) << ' ' << k;
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.File("out/sub")))
          ++count;
        EXPECT_EQ(count, 1U);
        dir.Write("out/sub/file", old);
        if (calls < k) break;
      }
    }
    EXPECT_TRUE(ExtractInto(dir, good).extracted);
    EXPECT_EQ(dir.Read("out/sub/file"), text);
  }
}

TEST(ZipReaderTest, LinksInTheDestinationAreNotFollowed) {
  const TempDir dir;
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("out"), false));
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("elsewhere"), false));
  dir.Write("outside", "old");
  std::error_code error;
  std::filesystem::create_directory_symlink(dir.File("elsewhere"), dir.File("out/link"), error);
  if (error) GTEST_SKIP() << "links cannot be made here: " << error.message();
  std::filesystem::create_symlink(dir.File("outside"), dir.File("out/file"), error);
  const Outcome outcome = ExtractInto(dir, MakeZip({{"link/x", "bad"}, {"file", "new"}, {"dir/y", "good"}}));
  EXPECT_FALSE(outcome.extracted);
  EXPECT_THAT(outcome.problems, ElementsAre(ZipProblem::kNoDirectory));
  EXPECT_FALSE(Exists(dir.File("elsewhere/x")));
  EXPECT_EQ(dir.Read("outside"), "old");
  EXPECT_EQ(dir.Read("out/file"), "new");  // the link was replaced
  EXPECT_EQ(dir.Read("out/dir/y"), "good");
}

TEST(ZipReaderTest, FilesInTheWay) {
  const TempDir dir;
  const Outcome outcome =
      ExtractInto(dir, MakeZip({{"a", "1"}, {"a/b", "2"}, {"c/d", "3"}, {"c", "4"}, {"e/", ""}}));
  EXPECT_THAT(outcome.problems, ElementsAre(ZipProblem::kNoDirectory, ZipProblem::kCannotWriteFile));
  EXPECT_EQ(dir.Read("out/a"), "1");
  EXPECT_EQ(dir.Read("out/c/d"), "3");
  EXPECT_TRUE(FileSystem::DirExists(dir.File("out/e").c_str()));
}

TEST(ZipReaderTest, TheObserverEndsTheWork) {
  const TempDir dir;
  Watcher watcher;
  ZipReader reader(
      dir.Write("archive.zip", MakeZip({{"a", "1"}, {"b", std::string(1'000'000, 'x')}, {"c", "3"}})));
  reader.SetObserver(&watcher);
  watcher.callsLeft = 3;
  EXPECT_FALSE(reader.Extract("*", dir.File("out")));
  EXPECT_TRUE(Exists(dir.File("out/a")));
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.File("out"))) ++count;
  EXPECT_EQ(count, 1U);
  watcher.callsLeft = 1'000'000;
  watcher.done = 0;
  EXPECT_TRUE(reader.Test("*"));
  EXPECT_EQ(watcher.done, 1'000'002U);
}

// A table of contents that lies about itself.
TEST(ZipReaderTest, EndRecordsThatLie) {
  const TempDir dir;
  const std::vector<ZipPart> parts = {{"a", "1"}, {"b", "2"}};
  const lmktest::ZipParts rows[] = {{.parts = parts, .count = 3},
                                    {.parts = parts, .count = 0xFFFF},
                                    {.parts = parts, .directorySize = 0xFFFFFF},
                                    {.parts = parts, .directoryOffset = 5},
                                    {.parts = parts, .directoryOffset = 0x7FFFFFFF}};
  for (const auto& row : rows) {
    const Outcome outcome = ExtractInto(dir, MakeZipOf(row));
    EXPECT_FALSE(outcome.extracted);
    EXPECT_FALSE(Exists(dir.File("out/a")));
  }
  // The count decides: what follows is not looked at.
  std::vector<std::string> names;
  EXPECT_TRUE(ZipReader(dir.Write("a.zip", MakeZipOf({.parts = parts, .count = 1}))).ListContents(&names));
  EXPECT_THAT(names, ElementsAre("a"));
}

// Cut anywhere, and each byte changed in turn: an error or the right files, and never more than that.
TEST(ZipReaderTest, CutAndChangedArchives) {
  const TempDir dir;
  const std::string text(3'000, 'x');
  const std::string whole =
      MakeZipOf({.parts = {{"a", text, true}, {"b/", ""}, {"b/c", "stored"}}, .comment = "end"});
  for (std::size_t size = 0; size < whole.size() - 3; ++size) {
    EXPECT_FALSE(ZipReader(dir.Write("cut.zip", whole.substr(0, size))).Test("*")) << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char change : {'\1', '\x80', '\xFF'}) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ change);
      ZipReader reader(dir.Write("changed.zip", changed));
      std::vector<ZipMember> members;
      const bool listed = reader.ListMembers(&members);
      if (!reader.Test("*")) continue;
      EXPECT_TRUE(listed);
      for (const ZipMember& member : members) EXPECT_LE(member.size, text.size());
    }
  }
}

}  // namespace
}  // namespace du
