// Ctrl-C in the middle of a command. "catalog" has its own test.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "lmkutils/files/testing/zip_bytes.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunChild;
using lmktest::RunToolUntil;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A member of so many MiB of zeros, packed a thousand times as small. Every MiB is the same bytes of deflate,
// since a full flush forgets what was before.
lmktest::ZipPart LargeMember(const char* name, std::uint32_t steps) {
  constexpr std::size_t kStep = 1U << 20;
  std::vector<Bytef> plain(kStep);
  std::vector<Bytef> packed(kStep);
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = plain.data();
  stream.avail_in = kStep;
  stream.next_out = packed.data();
  stream.avail_out = kStep;
  deflate(&stream, Z_FULL_FLUSH);
  const std::string block(reinterpret_cast<const char*>(packed.data()), stream.total_out);
  deflateEnd(&stream);

  lmktest::ZipPart part;
  part.name = name;
  part.method = 8;
  part.size = steps * static_cast<std::uint32_t>(kStep);
  const uLong checksum = crc32(0, plain.data(), kStep);
  uLong all = 0;
  for (std::uint32_t i = 0; i < steps; ++i) {
    part.plain += block;
    all = crc32_combine(all, checksum, static_cast<z_off_t>(kStep));
  }
  part.plain += std::string("\x03\0", 2);  // a last block with nothing in it
  part.crc = static_cast<std::uint32_t>(all);
  return part;
}

class InterruptTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!lmktest::CanPressCtrlC()) GTEST_SKIP() << "there is no program here that presses Ctrl-C";
  }

  std::vector<std::string> Entries(const std::string& folder) const {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator at(dir_.File(folder), error), end; !error && at != end;
         at.increment(error))
      names.push_back(at->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  // Whether a file is being written there that is not complete.
  bool HasNewFile(const std::string& folder) const {
    const std::vector<std::string> names = Entries(folder);
    return std::any_of(names.begin(), names.end(),
                       [](const std::string& name) { return name.starts_with("zip-"); });
  }
  std::string MakeArchive() const {
    return dir_.Write("large.zip",
                      lmktest::MakeZip({{"a", "first"}, LargeMember("b", 3 * 1024), {"c", "third"}}));
  }

  lmktest::TempDir dir_;
};

TEST_F(InterruptTest, ZipCreateLeavesTheOldArchive) {
  std::filesystem::create_directory(dir_.File("out"));
  const std::string archive = dir_.Write("out/a.zip", "old");
  const std::string large = dir_.Write("large", "");
  std::error_code error;
  std::filesystem::resize_file(large, std::uintmax_t{1} << 36, error);
  if (error) GTEST_SKIP() << "no file with a hole here: " << error.message();
  const ChildResult result =
      RunToolUntil([&] { return HasNewFile("out"); }, {"zip", "create", archive, large});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "lmkutil: interrupted; \"" + archive + "\" is as it was\n");
  EXPECT_THAT(Entries("out"), ElementsAre("a.zip"));
  EXPECT_EQ(dir_.Read("out/a.zip"), "old");
}

TEST_F(InterruptTest, ZipExtractLeavesCompleteFilesOnly) {
  const std::string out = dir_.File("out");
  const ChildResult result = RunToolUntil([&] { return HasNewFile("out"); },
                                          {"zip", "extract", "--no-limits", "-d", out, MakeArchive()});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "lmkutil: interrupted; the files in \"" + out + "\" are complete, others are missing\n");
  EXPECT_THAT(Entries("out"), ElementsAre("a"));
  EXPECT_EQ(dir_.Read("out/a"), "first");
}

TEST_F(InterruptTest, ZipTest) {
  const std::string archive = MakeArchive();
  const std::string trace = dir_.File("trace");
  const ChildResult result =
      RunToolUntil([&] { return lmktest::ReadWholeFile(trace).find("unpacking") != std::string::npos; },
                   {"zip", "test", "--no-limits", archive}, {{"LUMORA_LANG", "en"}, {"LUMORA_TRACE", trace}});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "lmkutil: interrupted; \"" + archive + "\" is as it was\n");
}

TEST_F(InterruptTest, DumpLeavesTheOldFile) {
  std::filesystem::create_directory(dir_.File("out"));
  const std::string out = dir_.Write("out/plain", "old");
  const std::string gzipHeader("\x1F\x8B\x08\0\0\0\0\0\0\x03", 10);
  const lmktest::ZipPart part = LargeMember("", 256);
  const std::string section = dir_.Write(
      "a.gz", gzipHeader + part.plain + lmktest::Bytes(*part.crc, 4) + lmktest::Bytes(*part.size, 4));
  const ChildResult result =
      RunToolUntil([&] { return Entries("out").size() > 1; }, {"dump", "--extract", "1", section, out});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.err, "lmkutil: interrupted; \"" + out + "\" is as it was\n");
  EXPECT_THAT(Entries("out"), ElementsAre("plain"));
  EXPECT_EQ(dir_.Read("out/plain"), "old");
}

// The catalogue is a pipe into which nobody writes, so that the tool waits. It has nothing to put in order,
// and is ended at once.
TEST_F(InterruptTest, QueryWritesNothing) {
  const std::string catalogue = dir_.File("pipe");
  ASSERT_EQ(RunChild({"/bin/sh", "-c", "mkfifo \"$0\"", catalogue}).exitCode, 0);
  const std::string trace = dir_.File("trace");
  const ChildResult result =
      RunToolUntil([&] { return lmktest::ReadWholeFile(trace).find("LmInfo") != std::string::npos; },
                   {"query", catalogue, "<name>"}, {{"LUMORA_LANG", "en"}, {"LUMORA_TRACE", trace}});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(Entries("."), ElementsAre("pipe", "trace"));
}

}  // namespace
