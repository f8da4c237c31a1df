#include "tools/lmkutil/folder_walk.h"

#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "tools/lmkutil/file_contents.h"
#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmkutil::FileNote;
using lmkutil::FolderWalk;
using testing::ElementsAre;

// Each file as "NAME EXTENSION VERSION SIZE CRC32 KIND", by its folder's path below the root.
std::map<std::string, std::vector<std::string>> Notes(FolderWalk& walk, const std::string& root) {
  std::map<std::string, std::vector<std::string>> notes;
  for (const lmkutil::Folder& folder : walk.Folders()) {
    auto& lines = notes[folder.path.substr(root.size())];
    for (const FileNote& file : folder.files) {
      lines.push_back(std::string(file.name) + " " + std::string(file.extension) + " " +
                      std::string(file.version) + " " + std::string(file.size) + " " +
                      std::string(file.crc32) + " " + (file.kind == nullptr ? "" : file.kind));
    }
  }
  return notes;
}

void RunQuietly(FolderWalk& walk) {
  walk.Run([](FolderWalk::Phase, const lmkutil::WalkCounts&) {});
}

class FolderWalkTest : public testing::Test {
 protected:
  std::string MakeFolder(const std::string& name) {
    const std::string path = folder_.File(name);
    EXPECT_TRUE(du::FileSystem::BuildPath(path, false));
    return path;
  }

  lmktest::TempDir folder_{"walk ä 日"};
};

TEST_F(FolderWalkTest, NotesWhatFilesAre) {
  MakeFolder("below");
  MakeFolder("empty");
  folder_.Write("plain", "123456789");
  folder_.Write("gear.prt.12", "\x05\x06\x13 part");
  folder_.Write("log.2024", "");
  folder_.Write("a.b.c.7", "");
  folder_.Write("a.lms", "LM-LMS \xE4");
  folder_.Write("short.lms", "LM-LM");
  folder_.Write("b.doc", "\xD0\xCF\x11\xE0");
  folder_.Write("large.txt", std::string(65536, 'x'));
  folder_.Write("larger.txt", std::string(65536, 'x') + "\x80");
  const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
  folder_.Write("below" + separator + "ö.tar.gz", "\xC3\xB6");
  FolderWalk walk(folder_.Path());
  RunQuietly(walk);
  const auto notes = Notes(walk, folder_.Path());
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_THAT(notes.at(""),
              ElementsAre("a.b.c.7 b.c 7 0 00000000 text", "a.lms lms  8 2D9AAD18 product structure",
                          "b.doc doc  4 6E307690 binary", "gear.prt.12 prt 12 8 62DA14DC binary",
                          "large.txt txt  65536 2CB4589A text", "larger.txt txt  65537 2F4CA2AF binary",
                          "log.2024 2024  0 00000000 text", "plain   9 CBF43926 text",
                          "short.lms lms  5 566B2A22 text"));
  EXPECT_THAT(notes.at(separator + "below"), ElementsAre("ö.tar.gz gz  2 830C80CB binary"));
  EXPECT_EQ(walk.Counts().folders, 3U);
  EXPECT_EQ(walk.Counts().filesFound, 10U);
  EXPECT_EQ(walk.Counts().filesDone, 10U);
  const FileNote& first = walk.Folders().front().files.front();
  EXPECT_EQ(first.path, folder_.File("a.b.c.7"));
  EXPECT_THAT(std::string(first.time), testing::StartsWith("20"));
  EXPECT_EQ(std::string(first.time).size(), 20U);
}

TEST_F(FolderWalkTest, CountsLinksAndDoesNotFollowThem) {
  MakeFolder("below");
  folder_.Write("a", "a");
  std::error_code error;
  const auto native = [this](const char* name) {
    const std::string path = folder_.File(name);
    return std::filesystem::path(std::u8string(path.begin(), path.end()));
  };
  std::filesystem::create_directory_symlink(native(""), native("loop"), error);
  if (!error) std::filesystem::create_symlink(native("a"), native("to file"), error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  FolderWalk walk(folder_.Path());
  RunQuietly(walk);
  EXPECT_EQ(walk.Counts().links, 2U);
  EXPECT_EQ(walk.Counts().filesFound, 1U);
  EXPECT_EQ(walk.Counts().folders, 2U);
}

TEST_F(FolderWalkTest, KnowsFoldersThatKeepNoFiles) {
  EXPECT_TRUE(lmkutil::KeepsFiles(folder_.Path()));
  EXPECT_TRUE(lmkutil::KeepsFiles(folder_.File("missing")));  // which shall be told of as what cannot be read
  const bool hasDrives = std::filesystem::path::preferred_separator != '/';
  for (const char* const shown : {"/proc/self", "/sys/kernel"}) {
    if (!hasDrives && du::FileSystem::DirExists(shown)) {
      EXPECT_FALSE(lmkutil::KeepsFiles(shown)) << shown;
    }
  }
}

TEST_F(FolderWalkTest, CountsWhatCannotBeRead) {
  folder_.Write("a", "a");
  {
    FolderWalk walk(folder_.Path());
    const os::fault::Arming denied(os::fault::Call::kFileOpen,
                                   {.count = os::fault::kForEver, .error = os::kErrorAccessDenied});
    RunQuietly(walk);
    EXPECT_EQ(walk.Counts().unreadableFiles, 1U);
    EXPECT_EQ(walk.Folders().front().files.front().size, "1");
    EXPECT_TRUE(walk.Folders().front().files.front().crc32.empty());
  }
  FolderWalk missing(folder_.File("missing"));
  RunQuietly(missing);
  EXPECT_EQ(missing.Counts().unreadableFolders, 1U);
}

// Files come and go meanwhile, and so does a folder.
TEST_F(FolderWalkTest, StandsAFolderThatChanges) {
  std::vector<std::string> paths;
  MakeFolder("goes");
  for (int i = 0; i < 3000; ++i) paths.push_back(folder_.Write("f" + std::to_string(i), "x"));
  std::thread change([&] {
    for (const std::string& path : paths) du::FileSystem::Unlink(path.c_str(), true);
    du::FileSystem::Rmdir(folder_.File("goes").c_str(), true);
    for (int i = 0; i < 100; ++i) folder_.Write("g" + std::to_string(i), "x");
  });
  FolderWalk walk(folder_.Path());
  RunQuietly(walk);
  change.join();
  const lmkutil::WalkCounts& counts = walk.Counts();
  EXPECT_EQ(counts.filesDone, counts.filesFound);
  // Windows refuses access to a file that is on its way out; one that is just being written may be empty yet.
  const std::uint64_t accounted = counts.bytes + counts.vanishedFiles + counts.unreadableFiles;
  EXPECT_LE(accounted, counts.filesFound);
  EXPECT_GE(accounted + 100, counts.filesFound);
}

TEST_F(FolderWalkTest, EndsSoonWhenInterrupted) {
  for (int i = 0; i < 200; ++i) folder_.Write("f" + std::to_string(i), "x");
  FolderWalk walk(folder_.Path());
  const os::fault::Arming interrupt(os::fault::Call::kInterruptAsked,
                                    {.first = 20, .count = os::fault::kForEver});
  RunQuietly(walk);
  EXPECT_EQ(walk.Counts().filesFound, 200U);
  EXPECT_LT(walk.Counts().filesDone, 20U);
}

}  // namespace
