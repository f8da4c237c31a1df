// FileSystem: temporary files and directories.
#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/unique_name.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/os/process.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/pattern.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::StartsWith;

std::vector<std::string> ErrorsOf(lmktest::TraceRecorder& recorder) {
  std::vector<std::string> texts;
  for (const auto& record : recorder.Take()) {
    if (record.type == dp::TraceType::Error) texts.push_back(record.text);
  }
  return texts;
}

std::string NameOf(const std::string& path) {
  return path.substr(path.find_last_of("\\/") + 1);
}

// The classic form of the hash gives these for "ab" in 32 bits as well; the last two fold the top four bits.
TEST(UniqueNameTest, MixesAsThePjwHash) {
  EXPECT_EQ(internal::MixByte(internal::MixByte(0, 'a'), 'b'), 0x672U);
  EXPECT_EQ(internal::MixByte(0x0100, -1), 0x0FFFU);
  EXPECT_EQ(internal::MixByte(0x0F00000000000000, 0), 0xF0U);
  EXPECT_EQ(internal::MixByte(0x0123456789ABCDEF, 1), 0x023456789ABCDEF1U ^ 0x10U);
}

// The name is reckoned anew from what the trace tells.
TEST(UniqueNameTest, IsMadeOfWhatItsTraceTells) {
  lmktest::TraceRecorder recorder;
  const std::string name = internal::MakeUniqueName("pre");
  const auto records = recorder.Take();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].type, dp::TraceType::Debug);
  EXPECT_EQ(records[0].key, "FileSystem");
  const std::string& text = records[0].text;
  EXPECT_THAT(
      text,
      lmktest::IsOfForm(
          R"(GenerateUniqueName\("pre"\) at ".*-[0-9a-f]+-[0-9a-f]+--?\d+" produces"pre[0-9a-v]{13}"\.)"));
  EXPECT_THAT(text, testing::EndsWith("\"" + name + "\"."));
  if (sizeof(long) < 8) return;  // the timer is cut there
  const std::size_t at = text.find("at \"") + 4;
  const std::string identity = text.substr(at, text.find('"', at) - at);
  const std::size_t timerAt = identity.rfind('-') + 1;
  const std::size_t threadAt = identity.rfind('-', timerAt - 2) + 1;
  const std::size_t processAt = identity.rfind('-', threadAt - 2) + 1;
  EXPECT_EQ(std::stoul(identity.substr(threadAt), nullptr, 16), os::CurrentThreadId());
  std::uint64_t hash = 0;
  const auto mix = [&hash](std::uint64_t number, int bytes) {
    for (int i = 0; i < bytes; ++i) hash = internal::MixByte(hash, static_cast<signed char>(number >> 8 * i));
  };
  for (const char c : identity.substr(0, processAt - 1))
    hash = internal::MixByte(hash, static_cast<signed char>(c));
  mix(os::ProcessId(), 4);
  mix(os::CurrentThreadId(), 4);
  mix(std::stoull(identity.substr(timerAt)), 8);
  std::string expected = "pre";
  for (int i = 0; i < 13; ++i, hash >>= 5) expected += "0123456789abcdefghijklmnopqrstuv"[hash & 31];
  EXPECT_EQ(name, expected);
}

TEST(TempDirTest, Location) {
  const std::string before = dp::Environment::Get("LUMORA_TEMP");
  const char separator = os::GetCapabilities().separator;
  const lmktest::TempDir dir;
  dp::Environment::Put("LUMORA_TEMP", dir.Path() + "/");
  EXPECT_EQ(FileSystem::GetTempDir(false), dir.Path());
  EXPECT_EQ(FileSystem::GetTempDir(true), dir.Path() + separator);
  const std::string file = FileSystem::MkTempFile(nullptr, "f", "txt");
  EXPECT_THAT(file, StartsWith(dir.Path() + separator + "f"));
  EXPECT_THAT(FileSystem::MkTempDir("d"), StartsWith(dir.Path() + separator + "d"));
  dp::Environment::Put("LUMORA_TEMP", "//srv/share/tmp");
  EXPECT_EQ(FileSystem::GetTempDir(false), separator == '/' ? "//srv/share/tmp" : R"(\\srv\share\tmp)");
  dp::Environment::Put("LUMORA_TEMP", before);
  EXPECT_TRUE(FileSystem::DirExists(FileSystem::GetTempDir(true).c_str()));
}

TEST(TempDirTest, IsPrivate) {
  const lmktest::TempDir parent("lmk-\xC3\xA4");
  const std::string made = FileSystem::MkTempDir(parent.Path().c_str(), "pre-");
  EXPECT_THAT(NameOf(made), lmktest::IsOfForm("pre-[0-9a-v]{13}"));
  ASSERT_TRUE(FileSystem::DirExists(made.c_str()));
  const std::string file = FileSystem::MkTempFile(made.c_str(), nullptr, "e.x");
  EXPECT_THAT(NameOf(file), lmktest::IsOfForm(R"([0-9a-v]{13}\.e\.x)"));
  EXPECT_THAT(NameOf(FileSystem::MkTempFile(made.c_str(), "", nullptr)), lmktest::IsOfForm("[0-9a-v]{13}"));
  std::FILE* const stream = FileSystem::lmfopen(file, "wb");
  ASSERT_NE(stream, nullptr) << "nobody holds it any more";
  std::fclose(stream);
  if (os::GetCapabilities().absolutePathsHaveDrive) return;  // no permission bits there
  FileStat stat;
  ASSERT_EQ(FileSystem::Stat(made.c_str(), &stat), 0);
  EXPECT_EQ(stat.mode, 0700U);
  ASSERT_EQ(FileSystem::Stat(file.c_str(), &stat), 0);
  EXPECT_EQ(stat.mode, 0600U);
}

TEST(TempDirTest, Failures) {
  const lmktest::TempDir dir;
  lmktest::TraceRecorder recorder;
  for (const char* bad : {"a/b", "a\\b"}) {
    EXPECT_EQ(FileSystem::MkTempDir(dir.Path().c_str(), bad), "");
    EXPECT_EQ(FileSystem::MkTempFile(dir.Path().c_str(), bad, ""), "");
    EXPECT_EQ(FileSystem::MkTempFile(dir.Path().c_str(), "", bad), "");
  }
  recorder.Take();
  {
    const Arming fault(Call::kDirectoryMake, {.count = os::fault::kForEver, .error = os::kErrorAccessDenied});
    EXPECT_EQ(FileSystem::MkTempDir(dir.Path().c_str(), "d"), "");
    const std::uint64_t tries = os::GetCapabilities().longPathsHavePrefix ? 2 : 1;
    EXPECT_EQ(os::fault::CountOf(Call::kDirectoryMake), 32 * tries);
    EXPECT_THAT(ErrorsOf(recorder),
                testing::ElementsAre("Failed to create temporary directory after 32 retries."));
  }
  {
    const Arming fault(Call::kFileCreate, {.count = 64, .error = os::kErrorAlreadyExists});
    EXPECT_EQ(FileSystem::MkTempFile(dir.Path().c_str(), "f", "x"), "");
    EXPECT_THAT(ErrorsOf(recorder),
                testing::ElementsAre("Failed to create temporary file after 32 retries."));
  }
  const Arming fault(Call::kFileCreate, {.count = os::fault::kForEver, .error = os::kErrorDiskFull});
  EXPECT_EQ(FileSystem::MkTempFile(dir.Path().c_str(), "f", "x"), "");
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kDiskFull);
  const auto errors = ErrorsOf(recorder);
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_THAT(errors[0], StartsWith(" Couldn't create temporary file \"" + dir.Path()));
  EXPECT_THAT(errors[0], testing::EndsWith("\" - " + os::SystemErrorText(os::kErrorDiskFull) + "."));
}

constexpr int kFilesEach = 1000;

int MakeFiles(const std::string& folder) {
  int made = 0;
  for (int i = 0; i < kFilesEach; ++i)
    made += FileSystem::MkTempFile(folder.c_str(), "n", "t").empty() ? 0 : 1;
  return made;
}

const lmktest::ChildRole kMaker("make_temporary_files", [](const std::vector<std::string>& args) {
  return MakeFiles(args.at(0)) == kFilesEach ? 0 : 1;
});

TEST(TempDirTest, ProcessesAndThreadsDoNotClash) {
  const lmktest::TempDir dir;
  std::atomic<int> made{0};
  int exitCode = -1;
  std::thread child([&] { exitCode = lmktest::RunSelf("make_temporary_files", {dir.Path()}).exitCode; });
  std::thread other([&] { made += MakeFiles(dir.Path()); });
  made += MakeFiles(dir.Path());
  other.join();
  child.join();
  EXPECT_EQ(exitCode, 0);
  EXPECT_EQ(made, 2 * kFilesEach);
  const std::filesystem::directory_iterator entries(dir.Path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 3 * kFilesEach);
}

}  // namespace
}  // namespace du
