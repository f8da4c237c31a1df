#include "lmkutils/files/zip_writer.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/zip_time.h"
#include "lmkutils/files/testing/zip_bytes.h"
#include "lmkutils/files/zip_observer.h"
#include "lmkutils/files/zip_reader.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using lmktest::NumberAt;
using lmktest::TempDir;
using os::fault::Arming;
using os::fault::Call;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr auto kCreate = ZipWriter::ZIP_APPEND_STATUS_CREATE;
constexpr auto kAfter = ZipWriter::ZIP_APPEND_STATUS_CREATEAFTER;
constexpr auto kAdd = ZipWriter::ZIP_APPEND_STATUS_ADDINZIP;

std::vector<std::string> NamesIn(const std::string& archive) {
  std::vector<std::string> names;
  EXPECT_TRUE(ZipReader(archive).ListContents(&names));
  return names;
}

bool IsGood(const std::string& archive) {
  return ZipReader(archive).Test("*");
}

// The bytes of each of the archive's headers of a kind, told by its signature.
std::vector<std::string> HeadersIn(const std::string& bytes, const std::string& signature) {
  std::vector<std::string> headers;
  for (std::size_t at = bytes.find(signature); at != std::string::npos; at = bytes.find(signature, at + 1))
    headers.push_back(bytes.substr(at));
  return headers;
}

// The variable while it lives.
class WithoutZip64 {
 public:
  WithoutZip64() { dp::Environment::Put("LUMORA_DISABLE_64BIT_ZIP", "no"); }
  ~WithoutZip64() { dp::Environment::Put("LUMORA_DISABLE_64BIT_ZIP", ""); }
  WithoutZip64(const WithoutZip64&) = delete;
  WithoutZip64& operator=(const WithoutZip64&) = delete;
};

TEST(ZipWriterTest, HeadersOfAMember) {
  const TempDir dir;
  const std::string text(100'000, 'x');
  const std::string archive = dir.File("archive.zip");
  const std::string file = dir.Write("gr\xC3\xBC\xC3\x9F.txt", text);
  ASSERT_TRUE(FileSystem::SetFileTime(file.c_str(), 0, 133'801'200'010'000'000));  // 2024-12-31 12:00:01 UTC
  ASSERT_TRUE(ZipWriter(archive).AddFile(file, kCreate));
  const std::string bytes = dir.Read("archive.zip");
  const auto local = HeadersIn(bytes, "PK\3\4");
  const auto central = HeadersIn(bytes, "PK\1\2");
  ASSERT_THAT(local, SizeIs(1));
  ASSERT_THAT(central, SizeIs(1));
  EXPECT_EQ(NumberAt(local[0], 6, 2), 0x0800U);
  EXPECT_EQ(NumberAt(central[0], 8, 2), 0x0800U);
  EXPECT_EQ(NumberAt(central[0], 4, 2), 0U);  // version made by
  EXPECT_EQ(NumberAt(central[0], 10, 2), 8U);
  EXPECT_EQ(NumberAt(central[0], 12, 4), 0x599F6000U);
  EXPECT_EQ(NumberAt(central[0], 16, 4), lmktest::Crc(text));
  EXPECT_EQ(NumberAt(central[0], 30, 4), 0U);  // no extra field, no comment
  EXPECT_EQ(central[0].substr(46, 10), "gr\xC3\xBC\xC3\x9F.txt");
  EXPECT_THAT(NamesIn(archive), ElementsAre("gr\xC3\xBC\xC3\x9F.txt"));
}

TEST(ZipWriterTest, PackedFormatsAreStored) {
  const TempDir dir;
  const std::string text(50'000, 'x');
  const std::string archive = dir.File("archive.zip");
  for (const char* name : {"a.LMZ", "b.qdz", "c.Qo", "d.lms", "e.lmzz", "lms", "f.lms.txt"}) {
    const auto status = FileSystem::FileExists(archive.c_str()) ? kAdd : kCreate;
    ASSERT_TRUE(ZipWriter(archive).AddFile(dir.Write(name, text), status)) << name;
  }
  std::vector<ZipMember> members;
  ASSERT_TRUE(ZipReader(archive).ListMembers(&members));
  ASSERT_THAT(members, SizeIs(7));
  for (std::size_t i = 0; i < members.size(); ++i) {
    EXPECT_EQ(members[i].method, 8) << members[i].name;  // blocks of deflate that are stored
    EXPECT_EQ(members[i].packedSize >= text.size(), i < 4) << members[i].name;
  }
  EXPECT_TRUE(IsGood(archive));
}

TEST(ZipWriterTest, TimesAreClamped) {
  EXPECT_EQ(internal::DosTime(0), 0x00210000U);
  EXPECT_EQ(internal::DosTime(internal::kFirstDosTime + 3), 0x00210001U);
  EXPECT_EQ(internal::DosTime(std::int64_t{1} << 40), 0xFF9FBF7DU);
  EXPECT_EQ(internal::SecondsOfDosTime(0), internal::kFirstDosTime);
  EXPECT_EQ(internal::SecondsOfDosTime(0xFFFFFFFF), internal::kLastDosTime);
}

TEST(ZipWriterTest, TreesAndExclusions) {
  const TempDir dir;
  for (const char* name : {"tree", "tree/out", "tree/out2", "tree/sub", "tree/sub/deep", "tree/sub/empty"})
    ASSERT_EQ(FileSystem::Mkdir(dir.File(name).c_str()), 0);
  for (const char* name : {"tree/a", "tree/b", "tree/out/x", "tree/out2/y", "tree/sub/b", "tree/sub/deep/c"})
    dir.Write(name, name);
  const std::string archive = dir.File("tree/archive.zip");
  ZipWriter writer(archive);
  writer.ExcludeFile(dir.File("tree/./b"));
  writer.ExcludeDirPath(dir.File("tree/sub/../out") + "/");
  writer.ExcludeFile("");
  writer.ExcludeDirPath("");
  for (int turn = 0; turn < 2; ++turn) {  // the second finds the first one's archive in the tree
    EXPECT_TRUE(writer.AddAllFilesFromDir(dir.File("tree"), kCreate, true));
    EXPECT_THAT(NamesIn(archive), UnorderedElementsAre("a", "out2/y", "sub/b", "sub/deep/c", "sub/empty/"));
  }
  const ZipWriter copy(writer);
  EXPECT_TRUE(ZipWriter(copy).AddAllFilesFromDir(dir.File("tree"), kCreate, false));
  EXPECT_THAT(NamesIn(archive), ElementsAre("a"));
  EXPECT_TRUE(
      writer.AddFile(dir.File("tree/out/x"), kAdd));  // excluded: nothing is done, which is no failure
  EXPECT_THAT(NamesIn(archive), ElementsAre("a"));
  ZipWriter::FileAdder adder(writer, kCreate);
  EXPECT_TRUE(adder.AddAllFilesFromDir(dir.File("tree/sub/empty"), "kept/", true));
  EXPECT_TRUE(adder.AddAllFilesFromDir(dir.File("tree/sub/empty"), "", true));  // without a name to keep
  EXPECT_TRUE(adder.AddAllFilesFromDir(dir.File("tree/out"), "out/", true));    // excluded
  EXPECT_TRUE(adder.AddAllFilesFromDir(dir.File("tree/sub/deep"), "deep/", true));
  EXPECT_TRUE(adder.Close());
  EXPECT_THAT(NamesIn(archive), ElementsAre("kept/", "deep/c"));
}

TEST(ZipWriterTest, ManyFilesWithOneOpen) {
  const TempDir dir;
  const std::string archive = dir.File("archive.zip");
  ZipWriter writer(archive);
  {
    ZipWriter::FileAdder adder(writer, kCreate);
    EXPECT_TRUE(adder.GetOpenStatus());
    EXPECT_TRUE(adder.AddFile(dir.Write("a", "first"), "one"));
    EXPECT_FALSE(adder.AddFile(dir.File("missing"), "two"));
    EXPECT_FALSE(adder.AddFile(dir.File("a"), "one"));
    EXPECT_TRUE(adder.AddFile(dir.File("a"), "sub/one"));
    EXPECT_FALSE(FileSystem::FileExists(archive.c_str()));  // not before it is complete
  }
  EXPECT_THAT(NamesIn(archive), ElementsAre("one", "sub/one"));
  ZipWriter::FileAdder adder(writer, kAdd);
  EXPECT_TRUE(adder.AddFile(dir.File("a"), "three"));
  adder.Abandon();
  EXPECT_FALSE(adder.AddFile(dir.File("a"), "four"));
  EXPECT_FALSE(adder.Close());
  EXPECT_THAT(NamesIn(archive), ElementsAre("one", "sub/one"));
}

TEST(ZipWriterTest, NamesThatAreRefused) {
  const TempDir dir;
  const std::string file = dir.Write("file", "x");
  const std::string archive = dir.File("archive.zip");
  const std::string longest(65'535, 'n');
  const std::string names[] = {"",           "/a",  "a/",   "../a", "a/../b", "a/./b",
                               "C:/a",       "C:a", "a\\b", "a//b", "\xFF",   std::string("a\0b", 3),
                               longest + "n"};
  const lmktest::TraceRecorder recorder;
  for (const std::string& name : names) {
    EXPECT_FALSE(ZipWriter(archive).AddFile(file, name, kCreate)) << name.substr(0, 20);
    EXPECT_FALSE(FileSystem::FileExists(archive.c_str()));
  }
  EXPECT_TRUE(ZipWriter(archive).AddFile(file, longest, kCreate));
  EXPECT_THAT(NamesIn(archive), ElementsAre(longest));
}

TEST(ZipWriterTest, TracesOfFailures) {
  const TempDir dir;
  const std::string file = dir.Write("file", "x");
  const std::string missing = dir.File("no/archive.zip");
  lmktest::TraceRecorder recorder;
  EXPECT_FALSE(ZipWriter(missing).AddFile(file, kCreate));
  const auto records = recorder.Take();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back().text, "ZipWriter: Failed to open zip file; " + missing);
  EXPECT_EQ(records.back().key, "ZipWriter");
  EXPECT_EQ(records.back().type, dp::TraceType::Error);
  EXPECT_FALSE(ZipWriter(dir.File("new.zip")).AddFile(file, kAdd));
  EXPECT_FALSE(ZipWriter(dir.File("new.zip")).AddFile(file, kAfter));
  EXPECT_FALSE(FileSystem::FileExists(dir.File("new.zip").c_str()));
  EXPECT_FALSE(ZipWriter(dir.Write("no.zip", std::string(100, '\0'))).AddFile(file, kAdd));
  EXPECT_EQ(dir.Read("no.zip"), std::string(100, '\0'));

  recorder.Take();
  EXPECT_FALSE(ZipWriter(dir.File("new.zip")).AddFile(dir.File("missing"), kCreate));
  EXPECT_THAT(recorder.TakeTexts(), Contains("ZipWriter: Failed to write to file; Open to file for reading"));
  EXPECT_FALSE(ZipWriter(dir.File("new.zip")).AddFile(file, "../x", kCreate));
  EXPECT_THAT(recorder.TakeTexts(), Contains("ZipWriter: Parameter error; Opening new file in zip"));
  EXPECT_FALSE(ZipWriter(dir.File("new.zip")).AddAllFilesFromDir(dir.File("missing"), kCreate, true));
  EXPECT_FALSE(FileSystem::FileExists(dir.File("new.zip").c_str()));
}

TEST(ZipWriterTest, AnUnreadableFileLeavesTheOthers) {
  const TempDir dir;
  ASSERT_EQ(FileSystem::Mkdir(dir.File("tree").c_str()), 0);
  for (const char* name : {"tree/a", "tree/b", "tree/c"}) dir.Write(name, name);
  const std::string archive = dir.File("archive.zip");
  {
    // Twice where the long form of the path is tried too.
    const std::uint64_t count = os::GetCapabilities().absolutePathsHaveDrive ? 2 : 1;
    const Arming fault(Call::kFileOpen, {.first = 2, .count = count, .error = os::kErrorAccessDenied});
    EXPECT_FALSE(ZipWriter(archive).AddAllFilesFromDir(dir.File("tree"), kCreate, true));
  }
  EXPECT_THAT(NamesIn(archive), SizeIs(2));
  EXPECT_TRUE(IsGood(archive));
}

// Whatever call of the system fails, once or for good: what was there is there.
TEST(ZipWriterTest, AFailedAddLeavesTheArchive) {
  const TempDir dir;
  const std::string archive = dir.File("archive.zip");
  const std::string file = dir.Write("file", std::string(400'000, 'x') + "end");
  std::string noise;
  for (std::uint32_t i = 0, x = 1; i < 300'000; ++i)
    noise += static_cast<char>((x = x * 1664525 + 1013904223) >> 24);
  const std::string large = dir.Write("large", noise);
  ASSERT_TRUE(ZipWriter(archive).AddFile(file, kCreate));
  const std::string before = dir.Read("archive.zip");
  constexpr Call kCalls[] = {Call::kFileRead,   Call::kFileWrite,  Call::kFileSeek, Call::kFileOpen,
                             Call::kFileCreate, Call::kFileRename, Call::kFileClose};
  for (const auto status : {kAdd, kAfter, kCreate}) {
    for (const Call call : kCalls) {
      for (std::uint64_t k = 1; k < 200; ++k) {
        bool added;
        std::uint64_t calls;
        {
          const Arming fault(call, {.first = k, .error = os::kErrorIoDevice, .cutTo = 10});
          added = ZipWriter(archive).AddFile(large, "new", status);
          calls = os::fault::CountOf(call);
        }
        if (added) {  // it was of no importance
          EXPECT_TRUE(IsGood(archive));
        } else if (call != Call::kFileClose || status == kCreate) {
          ASSERT_TRUE(dir.Read("archive.zip") == before)
              << static_cast<int>(status) << ' ' << static_cast<int>(call) << ' ' << k;
        }
        dir.Write("archive.zip", before);
        if (calls < k) break;
      }
    }
  }
  EXPECT_TRUE(ZipWriter(archive).AddFile(large, "new", kAdd));
  EXPECT_THAT(NamesIn(archive), ElementsAre("file", "new"));
  EXPECT_TRUE(IsGood(archive));
}

// The disk stays full: what was cut off an archive in place must come back all the same.
TEST(ZipWriterTest, DiskFull) {
  const TempDir dir;
  const std::string archive = dir.File("archive.zip");
  const std::string file = dir.Write("file", "first");
  ASSERT_TRUE(ZipWriter(archive).AddFile(file, kCreate));
  const std::string before = dir.Read("archive.zip");
  lmktest::TraceRecorder recorder;
  {
    const Arming fault(Call::kFileWrite, {.error = os::kErrorDiskFull});
    EXPECT_FALSE(ZipWriter(archive).AddFile(file, "second", kAdd));
  }
  EXPECT_THAT(recorder.TakeTexts(), Contains("ZipWriter: Failed to write to file; Closing zip file"));
  EXPECT_EQ(dir.Read("archive.zip"), before);
  const Arming full(Call::kFileWrite, {.count = os::fault::kForEver, .error = os::kErrorDiskFull});
  EXPECT_FALSE(ZipWriter(archive).AddFile(file, "second", kCreate));
  EXPECT_EQ(dir.Read("archive.zip"), before);
}

TEST(ZipWriterTest, BehindOtherBytes) {
  const TempDir dir;
  const std::string archive = dir.Write("program", std::string(1000, 'p'));
  EXPECT_TRUE(ZipWriter(archive).AddFile(dir.Write("file", "first"), kAfter));
  EXPECT_EQ(dir.Read("program").substr(0, 1000), std::string(1000, 'p'));
  EXPECT_THAT(NamesIn(archive), ElementsAre("file"));
  EXPECT_TRUE(ZipWriter(archive).AddFile(dir.File("file"), "again", kAdd));
  EXPECT_THAT(NamesIn(archive), ElementsAre("file", "again"));
  EXPECT_TRUE(IsGood(archive));
}

TEST(ZipWriterTest, EmptyArchives) {
  const TempDir dir;
  const std::string archive = dir.File("archive.zip");
  ASSERT_EQ(FileSystem::Mkdir(dir.File("tree").c_str()), 0);
  EXPECT_TRUE(ZipWriter(archive).AddAllFilesFromDir(dir.File("tree"), kCreate, true));
  EXPECT_THAT(NamesIn(archive), IsEmpty());
  EXPECT_TRUE(ZipWriter(archive).AddFile(dir.Write("file", ""), kAdd));
  EXPECT_THAT(NamesIn(archive), ElementsAre("file"));
  EXPECT_TRUE(IsGood(archive));
}

TEST(ZipWriterTest, Zip64Switch) {
  const TempDir dir;
  const std::string file = dir.Write("file", "bytes");
  ASSERT_TRUE(ZipWriter(dir.File("with.zip")).AddFile(file, kCreate));
  EXPECT_EQ(NumberAt(dir.Read("with.zip"), 28, 2), 20U);  // the local header's extra fields
  EXPECT_EQ(NumberAt(dir.Read("with.zip"), 4, 2), 45U);   // version needed
  const WithoutZip64 without;
  lmktest::TraceRecorder recorder;
  ASSERT_TRUE(ZipWriter(dir.File("without.zip")).AddFile(file, kCreate));
  EXPECT_THAT(
      recorder.TakeTexts(),
      Contains(
          "ZipWriter: " + dir.File("without.zip") +
          " will have maximum size of 4GB because LUMORA_DISABLE_64BIT_ZIP environment variable is set"));
  EXPECT_EQ(NumberAt(dir.Read("without.zip"), 28, 2), 0U);
  EXPECT_EQ(NumberAt(dir.Read("without.zip"), 4, 2), 20U);
}

// The greatest count that the short end record can tell is left to the long one.
TEST(ZipWriterTest, CountOfMembers) {
  if (os::GetCapabilities().absolutePathsHaveDrive)
    GTEST_SKIP() << "opens a file 65,536 times, which takes a minute here, and does nothing else that "
                    "depends on the system";
  const TempDir dir;
  const std::string file = dir.Write("file", "");
  const auto addAll = [&file](ZipWriter::FileAdder& adder, int first, int last) {
    for (int i = first; i <= last; ++i)
      if (!adder.AddFile(file, std::to_string(i))) return i;
    return 0;
  };
  ZipWriter writer(dir.File("archive.zip"));
  {
    const WithoutZip64 without;
    ZipWriter::FileAdder adder(writer, kCreate);
    EXPECT_EQ(addAll(adder, 1, 70'000), 65'535);
    EXPECT_TRUE(adder.Close());
  }
  EXPECT_THAT(NamesIn(writer.GetName()), SizeIs(65'534));
  for (const std::size_t count : {65'535U, 65'536U}) {
    EXPECT_TRUE(writer.AddFile(file, "member " + std::to_string(count), kAdd));
    EXPECT_THAT(NamesIn(writer.GetName()), SizeIs(count));
  }
}

class StopAfter : public ZipObserver {
 public:
  explicit StopAfter(int calls) : calls_(calls) {}
  bool Progress(const std::string& /*member*/, std::uint64_t /*bytes*/) override { return calls_-- > 0; }
  void Problem(ZipProblem problem, const std::string& name) override { problems.emplace_back(problem, name); }

  std::vector<std::pair<ZipProblem, std::string>> problems;

 private:
  int calls_;
};

TEST(ZipWriterTest, TheObserverEndsTheWork) {
  const TempDir dir;
  const std::string archive = dir.Write("archive.zip", "what was there");
  const std::string file = dir.Write("file", std::string(100'000, 'x'));
  StopAfter observer(3);
  ZipWriter writer(archive);
  writer.SetObserver(&observer);
  EXPECT_FALSE(writer.AddFile(file, kCreate));
  EXPECT_EQ(dir.Read("archive.zip"), "what was there");
  EXPECT_THAT(observer.problems, IsEmpty());
  EXPECT_FALSE(writer.AddFile(dir.File("missing"), kCreate));
  EXPECT_THAT(observer.problems,
              ElementsAre(testing::Pair(ZipProblem::kCannotReadFile, dir.File("missing"))));
}

// Nothing but a regular file is replaced: not the device that a path names.
TEST(ZipWriterTest, OnlyFilesAreReplaced) {
  const TempDir dir;
  ASSERT_EQ(FileSystem::Mkdir(dir.File("archive.zip").c_str()), 0);
  EXPECT_FALSE(ZipWriter(dir.File("archive.zip")).AddFile(dir.Write("file", "x"), kCreate));
  EXPECT_TRUE(FileSystem::DirExists(dir.File("archive.zip").c_str()));
  EXPECT_FALSE(ZipWriter("").AddFile(dir.File("file"), kCreate));
}

TEST(ZipWriterTest, ANewArchiveIsEverybodys) {
  const TempDir dir;
  const std::string file = dir.Write("file", "x");
  FileStat before;
  FileStat after;
  ASSERT_TRUE(ZipWriter(dir.File("new.zip")).AddFile(file, kCreate));
  ASSERT_EQ(FileSystem::Stat(file.c_str(), &before), 0);
  ASSERT_EQ(FileSystem::Stat(dir.File("new.zip").c_str(), &after), 0);
  EXPECT_EQ(before.mode, after.mode);
}

}  // namespace
}  // namespace du
