// Archives from and for other programs: unzip, zip, bsdtar and Python's zipfile, those of them that there
// are.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/zip_reader.h"
#include "lmkutils/files/zip_writer.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace du {
namespace {

using lmktest::ChildResult;
using lmktest::RunChild;
using lmktest::TempDir;
using testing::HasSubstr;

constexpr auto kCreate = ZipWriter::ZIP_APPEND_STATUS_CREATE;
constexpr auto kAdd = ZipWriter::ZIP_APPEND_STATUS_ADDINZIP;
constexpr const char* kUnicodeName = "gr\xC3\xBC\xC3\x9F.txt";

// False when the machine does not have the program.
bool RunTool(const std::vector<std::string>& command, ChildResult* result) {
  std::vector<std::string> found{"/usr/bin/env"};
  if (os::GetCapabilities().absolutePathsHaveDrive) return false;
  found.insert(found.end(), command.begin(), command.end());
  *result = RunChild(found, {{"LC_ALL", "C.UTF-8"}});
  return result->exitCode != 127;
}

// Expects success, or that the program is not there.
void Expect(const std::vector<std::string>& command) {
  ChildResult result;
  if (!RunTool(command, &result)) {
    std::cout << "without " << command[0] << '\n';
    return;
  }
  EXPECT_EQ(result.exitCode, 0) << command[0] << ": " << result.out << result.err;
}

bool Has(const std::string& program) {
  ChildResult result;
  return RunTool({"sh", "-c", "command -v " + program}, &result) && result.exitCode == 0;
}

bool IsSanitized() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#else
  return false;
#endif
}

// A tree with the kinds of files that matter.
void MakeTree(const TempDir& dir) {
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("tree/sub/empty"), false));
  std::string noise;
  for (std::uint32_t i = 0, x = 1; i < 200'000; ++i)
    noise += static_cast<char>((x = x * 1664525 + 1013904223) >> 24);
  dir.Write("tree/noise", noise);
  dir.Write("tree/sub/text", std::string(500'000, 't'));
  dir.Write("tree/sub/packed.lmz", noise);
  dir.Write("tree/none", "");
}

void ExpectSameTree(const TempDir& dir, const std::string& copy) {
  for (const char* name : {"noise", "sub/text", "sub/packed.lmz", "none"}) {
    EXPECT_TRUE(dir.Read("tree/" + std::string(name)) == dir.Read(copy + "/" + name)) << name;
    FileStat mine;
    FileStat theirs;
    ASSERT_EQ(FileSystem::Stat(dir.File("tree/" + std::string(name)).c_str(), &mine), 0);
    ASSERT_EQ(FileSystem::Stat(dir.File(copy + "/" + name).c_str(), &theirs), 0);
    EXPECT_LE(theirs.modificationTime - mine.modificationTime, 0) << name;
    EXPECT_GE(theirs.modificationTime - mine.modificationTime, -2) << name;
  }
  EXPECT_TRUE(FileSystem::DirExists(dir.File(copy + "/sub/empty").c_str()));
}

TEST(ZipToolsTest, OthersReadOurs) {
  const TempDir dir;
  MakeTree(dir);
  const std::string archive = dir.File("ours.zip");
  ASSERT_TRUE(ZipWriter(archive).AddAllFilesFromDir(dir.File("tree"), kCreate, true));
  Expect({"unzip", "-tq", archive});
  Expect({"zip", "-T", archive});
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("bsdtar"), false));
  Expect({"bsdtar", "-xf", archive, "-C", dir.File("bsdtar")});
  ChildResult result;
  if (Has("bsdtar")) {
    EXPECT_EQ(dir.Read("bsdtar/sub/text"), dir.Read("tree/sub/text"));
    EXPECT_TRUE(dir.Read("bsdtar/noise") == dir.Read("tree/noise"));
  }
  // unzip passes the flag of UTF-8 over in archives that do not say where they were made.
  ASSERT_TRUE(ZipWriter(archive).AddFile(dir.Write(kUnicodeName, "x"), kAdd));
  const std::string script =
      "import sys, zipfile\n"
      "archive = zipfile.ZipFile(sys.argv[1])\n"
      "assert archive.testzip() is None\n"
      "sys.stdout.buffer.write(' '.join(sorted(archive.namelist())).encode())\n";
  if (RunTool({"python3", "-c", script, archive}, &result)) {
    EXPECT_EQ(result.out, "gr\xC3\xBC\xC3\x9F.txt noise none sub/empty/ sub/packed.lmz sub/text")
        << result.err;
  }
}

TEST(ZipToolsTest, WeReadOthers) {
  const TempDir dir;
  MakeTree(dir);
  dir.Write(std::string("tree/") + kUnicodeName, "x");
  const std::string python =
      "import os, sys, zipfile\n"
      "archive = zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED)\n"
      "os.environ['TZ'] = 'UTC'\n"
      "for folder, folders, files in os.walk('.'):\n"
      "    for name in folders + files: archive.write(os.path.join(folder, name))\n"
      "archive.close()\n";
  const std::vector<std::vector<std::string>> commands = {
      {"zip", "-qr", dir.File("zip.zip"), "."},
      {"zip", "-qr", "-fz", "-0", dir.File("zip64.zip"), "."},
      {"bsdtar", "-cf", dir.File("bsdtar.zip"), "--format=zip", "."},
      {"python3", "-c", python, dir.File("python3.zip")}};
  int count = 0;
  for (const auto& command : commands) {
    std::vector<std::string> inTree = {"env", "-C", dir.File("tree"), "TZ=UTC"};
    inTree.insert(inTree.end(), command.begin(), command.end());
    ChildResult result;
    if (!RunTool(inTree, &result)) {
      std::cout << "without " << command[0] << '\n';
      continue;
    }
    ASSERT_EQ(result.exitCode, 0) << command[0] << ": " << result.out << result.err;
    const auto archive =
        std::find_if(command.begin(), command.end(), [](const auto& a) { return a.ends_with(".zip"); });
    const std::string copy = "copy" + std::to_string(count++);
    EXPECT_TRUE(ZipReader(*archive).Extract("*", dir.File(copy))) << command[0];
    ExpectSameTree(dir, copy);
    EXPECT_EQ(dir.Read(copy + "/" + kUnicodeName), "x") << command[0];
  }
  if (count == 0) GTEST_SKIP() << "none of the other programs is there";
}

// Once, since it takes its time: four gibibytes of nothing.
TEST(ZipToolsTest, BeyondFourGibibytes) {
  if (!Has("unzip") || dp::Environment::Test("LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT") ||
      dp::Environment::Test("LUMORA_MEM_MAXSPEED_MAXFOOTPRINT") || IsSanitized())
    GTEST_SKIP() << "run where files have holes, in the usual mode and without sanitizers";
  const TempDir dir;
  constexpr std::uint64_t kSize = (std::uint64_t{4} << 30) + 5;
  const std::string large = dir.Write("large", "begin");
  const std::string last = dir.Write("last", "behind");
  std::filesystem::resize_file(large, kSize);

  dp::Environment::Put("LUMORA_DISABLE_64BIT_ZIP", "1");
  EXPECT_FALSE(ZipWriter(dir.File("short.zip")).AddFile(large, kCreate));
  EXPECT_FALSE(FileSystem::FileExists(dir.File("short.zip").c_str()));
  dp::Environment::Put("LUMORA_DISABLE_64BIT_ZIP", "");

  const std::string archive = dir.File("archive.zip");
  ASSERT_TRUE(ZipWriter(archive).AddFile(large, kCreate));
  ASSERT_TRUE(ZipWriter(archive).AddFile(last, kAdd));
  std::vector<ZipMember> members;
  ASSERT_TRUE(ZipReader(archive).ListMembers(&members));
  ASSERT_THAT(members, testing::SizeIs(2));
  EXPECT_EQ(members[0].size, kSize);
  ZipReader reader(archive);
  EXPECT_FALSE(reader.Test("*"));  // it exceeds the limits
  reader.SetLimits({.freeSize = std::numeric_limits<std::uint64_t>::max()});
  EXPECT_TRUE(reader.Test("*"));  // every byte, with length and CRC-32
  ChildResult result;
  ASSERT_TRUE(RunTool({"unzip", "-Z", "-t", archive}, &result));
  EXPECT_THAT(result.out, HasSubstr("4294967307 bytes uncompressed")) << result.err;
}

// The members of an archive begin behind 4 GiB: their places need the long numbers.
TEST(ZipToolsTest, PlacesBeyondFourGibibytes) {
  if (!Has("unzip")) GTEST_SKIP() << "run where files have holes";
  const TempDir dir;
  const std::string file = dir.Write("file", "first");
  const std::string archive = dir.Write("archive.zip", "begin");
  std::filesystem::resize_file(archive, (std::uint64_t{4} << 30) + 5);
  ASSERT_TRUE(ZipWriter(archive).AddFile(file, ZipWriter::ZIP_APPEND_STATUS_CREATEAFTER));
  ASSERT_TRUE(ZipWriter(archive).AddFile(file, "again", kAdd));
  EXPECT_TRUE(ZipReader(archive).Extract("*", dir.File("out")));
  EXPECT_EQ(dir.Read("out/again"), "first");
  Expect({"unzip", "-tq", archive});
}

}  // namespace
}  // namespace du
