#include "lmkutils/files/file_handler.h"

#include <cerrno>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/os/descriptor.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::HasSubstr;

static_assert(!std::is_copy_constructible_v<ReadFileHandler>);

const int kCreate = os::kOpenReadWrite | os::kOpenCreate | os::kOpenBinary;

TEST(FileHandlerTest, WritesAndReadsThroughTheStream) {
  const lmktest::TempDir dir("lmk-d\xC3\xA4tei");
  const std::string path = dir.File("\xE2\x82\xAC.bin");
  const SmartPtr<WriteFileHandler> out(new WriteFileHandler);
  ASSERT_TRUE(out->Open(path));
  EXPECT_TRUE(out->IsOpen());
  EXPECT_GE(out->GetFileDescriptor(), 0);
  EXPECT_GE(std::fputs("one\r\ntwo\n\x1A", out->GetFilePointer()), 0);
  EXPECT_TRUE(out->Close());
  EXPECT_FALSE(out->IsOpen());
  EXPECT_EQ(out->GetFileDescriptor(), -1);
  EXPECT_TRUE(out->Close());

  const SmartPtr<ReadFileHandler> in(new ReadFileHandler);
  ASSERT_TRUE(in->Open(path));
  char text[20];
  EXPECT_EQ(std::fread(text, 1, sizeof text, in->GetFilePointer()), 10U);
}

TEST(FileHandlerTest, FlagsDecideWhetherAFileIsEmptied) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("file", "abcdef");
  WriteFileHandler out;
  ASSERT_TRUE(out.Open(path, kCreate, 0666));
  EXPECT_GE(std::fputs("XY", out.GetFilePointer()), 0);
  EXPECT_TRUE(out.Close());
  EXPECT_EQ(dir.Read("file"), "XYcdef");
  ASSERT_TRUE(out.Open(path, kCreate | os::kOpenTruncate, 0666));  // without being closed before
  ASSERT_TRUE(out.Open(dir.File("other"), kCreate, 0666));
  EXPECT_EQ(dir.Read("file"), "");
  EXPECT_FALSE(out.Open(path, kCreate | os::kOpenExclusive, 0666));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_FALSE(out.IsOpen());
}

TEST(FileHandlerTest, ReleaseHandsTheStreamOver) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("file", "x");
  std::FILE* stream = nullptr;
  {
    ReadFileHandler in;
    EXPECT_EQ(in.Release(), nullptr);
    ASSERT_TRUE(in.Open(path));
    stream = in.Release();
    EXPECT_FALSE(in.IsOpen());
  }
  EXPECT_EQ(std::fgetc(stream), 'x');
  EXPECT_EQ(std::fclose(stream), 0);
}

TEST(FileHandlerTest, FailureToOpenLeavesItClosed) {
  const lmktest::TempDir dir;
  ReadFileHandler in;
  ASSERT_TRUE(in.Open(dir.Write("file", "x")));
  EXPECT_FALSE(in.Open(dir.File("missing")));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kFileNotFound);
  EXPECT_FALSE(in.IsOpen());
  EXPECT_FALSE(in.Open(dir.Path()));  // a directory
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kAccessDenied);
  EXPECT_FALSE(in.Open(""));
  EXPECT_FALSE(in.Open(dir.Path(), os::kOpenReadOnly, 0));
}

// The descriptor must not stay open when no stream can be made of it.
TEST(FileHandlerTest, FailureToMakeTheStreamClosesTheDescriptor) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("file", "x");
  const int next = FileSystem::lmopen(path, os::kOpenReadOnly, 0);
  os::CloseDescriptor(next);
  ReadFileHandler in;
  const Arming fault(Call::kStreamOpen, {.count = 2, .error = os::kErrorNotEnoughMemory});
  EXPECT_FALSE(in.Open(path));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kNotEnoughMemory);
  EXPECT_FALSE(in.Open(path, os::kOpenReadOnly, 0));
  EXPECT_EQ(errno, ENOMEM);
  ASSERT_TRUE(in.Open(path));
  EXPECT_EQ(in.GetFileDescriptor(), next);
}

TEST(FileHandlerTest, CloseTellsWhenTheDiskIsFull) {
  const lmktest::TempDir dir;
  WriteFileHandler out;
  ASSERT_TRUE(out.Open(dir.File("file")));
  const Arming fault(Call::kFileClose, {.error = os::kErrorDiskFull});
  EXPECT_FALSE(out.Close());
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kDiskFull);
  EXPECT_FALSE(out.IsOpen());
}

TEST(FileSystemOpenTest, ModesAreThoseOfFopen) {
  const lmktest::TempDir dir;
  struct Row {
    const char* mode;
    const char* afterwards;  // of a file "old", after "X" was written; null: not opened, or not writable
  };
  constexpr Row kRows[] = {{"r", nullptr}, {"rb+", "Xld"}, {"r+b", "Xld"},    {"w", "X"},
                           {"wb+", "X"},   {"a", "oldX"},  {"ab+", "oldX"},   {"wx", nullptr},
                           {"", nullptr},  {"q", nullptr}, {nullptr, nullptr}};
  for (const Row& row : kRows) {
    const std::string path = dir.Write("file", "old");
    std::FILE* const file = FileSystem::lmfopen(path, row.mode);
    if (file != nullptr) {
      std::fputs("X", file);
      std::fclose(file);
    }
    EXPECT_EQ(dir.Read("file"), row.afterwards != nullptr ? row.afterwards : "old")
        << testing::PrintToString(row.mode);
  }
}

TEST(FileSystemOpenTest, ErrorNumbers) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("file", "x");
  std::FILE* file = nullptr;
  EXPECT_EQ(FileSystem::lmfopen_s(&file, path, "rb"), 0);
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_EQ(FileSystem::lmfopen_s(&file, dir.File("missing"), "rb"), ENOENT);
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(FileSystem::lmfopen_s(&file, path.c_str(), "wx"), EEXIST);
  EXPECT_EQ(FileSystem::lmfopen_s(&file, path.c_str(), nullptr), EINVAL);
  EXPECT_EQ(FileSystem::lmfopen_s(nullptr, path.c_str(), "r"), EINVAL);
  EXPECT_EQ(FileSystem::lmfopen_s(&file, static_cast<const char*>(nullptr), "r"), ENOENT);
}

TEST(FileSystemOpenTest, RefusesWhatIsNoPath) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("file", "x");
  lmktest::TraceRecorder recorder;
  EXPECT_EQ(FileSystem::lmfopen(path + "\xFF", "w"), nullptr);
  EXPECT_EQ(errno, EILSEQ);
  EXPECT_EQ(FileSystem::lmopen(path + std::string("\0.txt", 5), os::kOpenReadOnly, 0), -1);
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre(HasSubstr("is not UTF-8"), HasSubstr("has a NUL inside")));
}

}  // namespace
}  // namespace du
