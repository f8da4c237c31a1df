#include "lmkutils/files/file_writer.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

static_assert(!std::is_constructible_v<FileWriter>);

constexpr auto kForEver = os::fault::kForEver;

class FileWriterTest : public testing::Test {
 protected:
  lmktest::TempDir dir_;
  const std::string path_ = dir_.File("\xC3\xBC.bin");
  lmktest::TraceRecorder traces_;
  SmartPtr<FileWriter> writer_ = FileWriter::Construct();
};

TEST_F(FileWriterTest, WritesEveryTypeInBothOrders) {
  const short shorts[] = {1, -2};
  const int ints[] = {3, -4};
  const double doubles[] = {1.5};
  ASSERT_TRUE(writer_->Open(path_, 1));
  EXPECT_TRUE(writer_->Write(short{0x0102}) && writer_->Write(0x01020304) && writer_->Write(1.5) &&
              writer_->Write(true) && writer_->Write(false));
  EXPECT_EQ(3U, writer_->Write("abc", 3));
  EXPECT_TRUE(writer_->Write(shorts, 2) == 2 && writer_->Write(ints, 2) == 2 &&
              writer_->Write(doubles, 1) == 1);
  EXPECT_TRUE(writer_->SetEndian(0) && !writer_->SetEndian(2) && writer_->IsLittleEndian());
  EXPECT_TRUE(writer_->Write(short{0x0102}) && writer_->Write(ints, 1) == 1);
  EXPECT_EQ(45, writer_->GetPosition());
  EXPECT_TRUE(writer_->Close() && writer_->Close());
  EXPECT_EQ(std::string(
                "\1\2\1\2\3\4\x3F\xF8\0\0\0\0\0\0\1\0abc\0\1\xFF\xFE\0\0\0\3\xFF\xFF\xFF\xFC\x3F\xF8\0\0\0\0"
                "\0\0\2\1\3\0\0\0",
                45),
            dir_.Read("\xC3\xBC.bin"));
}

// Arrays of all sizes around that of the buffer, between single bytes that shift them.
TEST_F(FileWriterTest, ArraysOfAnySize) {
  for (const int endian : {0, 1}) {
    ASSERT_TRUE(writer_->Open(path_, endian, 10));
    std::vector<double> values;
    for (int i = 0; i < 3000; ++i) values.push_back(i * 1.25);
    unsigned total = 0;
    for (unsigned count = 0; count < 3000; count = count * 2 + 1) {
      ASSERT_EQ(count, writer_->Write(values.data(), count));
      ASSERT_TRUE(writer_->Write(true));
      total += 8 * count + 1;
      ASSERT_EQ(total, writer_->GetPosition());
    }
    ASSERT_TRUE(writer_->Close());
    FileReader reader;
    ASSERT_TRUE(reader.Open(path_, endian));
    std::vector<double> back(3000);
    for (unsigned count = 0; count < 3000; count = count * 2 + 1) {
      bool mark = false;
      ASSERT_EQ(count, reader.Read(back.data(), count));
      ASSERT_TRUE(std::equal(back.data(), back.data() + count, values.data()));
      ASSERT_TRUE(reader.Read(mark) && mark);
    }
  }
}

TEST_F(FileWriterTest, WithoutTruncationAnOlderFileKeepsItsTail) {
  dir_.Write("\xC3\xBC.bin", "abcdef");
  ASSERT_TRUE(writer_->Open(path_.c_str(), 0, 0, false));
  EXPECT_EQ(2U, writer_->Write("XY", 2));
  EXPECT_TRUE(writer_->SetPosition(4) && writer_->Write("Z", 1) == 1 && writer_->GetPosition() == 5);
  EXPECT_TRUE(writer_->Close());
  EXPECT_EQ("XYcdZf", dir_.Read("\xC3\xBC.bin"));
  ASSERT_TRUE(writer_->Open(path_));
  writer_.reset();
  EXPECT_EQ("", dir_.Read("\xC3\xBC.bin"));
}

TEST_F(FileWriterTest, Positions) {
  ASSERT_TRUE(writer_->Open(path_));
  EXPECT_TRUE(writer_->Write(1) && writer_->SetPosition(10) && writer_->Write("x", 1) == 1);
  EXPECT_TRUE(writer_->SetPosition(0) && writer_->Write("y", 1) == 1);
  EXPECT_FALSE(writer_->SetPosition(-1));
  EXPECT_TRUE(writer_->IsError());
  EXPECT_EQ(1, writer_->GetPosition());
  EXPECT_FALSE(writer_->Close());
  EXPECT_EQ(std::string("y\0\0\0\0\0\0\0\0\0x", 11), dir_.Read("\xC3\xBC.bin"));
}

TEST_F(FileWriterTest, PositionsBeyond4GiB) {
  constexpr std::int64_t kFar = 5'000'000'000;
  ASSERT_TRUE(writer_->Open(path_) && writer_->SetPosition(kFar));
  EXPECT_TRUE(writer_->Write(42) && writer_->StartCompressedSection() && writer_->Write(43) &&
              writer_->EndCompressedSection());
  EXPECT_GT(writer_->GetPosition(), kFar);
  ASSERT_TRUE(writer_->Close());
  FileReader reader;
  int value = 0;
  ASSERT_TRUE(reader.Open(path_) && reader.SkipBytes(kFar) && reader.Read(value));
  EXPECT_EQ(42, value);
  EXPECT_TRUE(reader.StartCompressedSection() && reader.Read(value) && reader.EndCompressedSection(true));
  EXPECT_EQ(43, value);
  EXPECT_TRUE(reader.SetPosition(kFar) && reader.Read(value) && value == 42);
  EXPECT_GT(reader.GetFilePos(), kFar);
}

TEST_F(FileWriterTest, CopiesFiles) {
  const std::string big(100'000, 'b');
  ASSERT_TRUE(writer_->Open(path_, 0, 1024));
  EXPECT_TRUE(writer_->Write("<", 1) == 1);
  EXPECT_EQ(big.size(), writer_->WriteFile(dir_.Write("big", big).c_str()));
  EXPECT_EQ(0U, writer_->WriteFile(dir_.Write("empty", "").c_str()));
  EXPECT_FALSE(writer_->IsError());
  EXPECT_TRUE(writer_->Write(">", 1) == 1);
  EXPECT_EQ(0U, writer_->WriteFile(path_.c_str()));  // would grow for ever
  EXPECT_TRUE(writer_->IsError());
  EXPECT_FALSE(writer_->Close());
  EXPECT_EQ("<" + big + ">", dir_.Read("\xC3\xBC.bin"));
  ASSERT_TRUE(writer_->Open(path_, 0, 1024));
  EXPECT_EQ(0U, writer_->WriteFile(dir_.File("missing").c_str()));
  EXPECT_EQ(0U, writer_->WriteFile(nullptr));
  EXPECT_TRUE(writer_->IsError());
  ASSERT_TRUE(writer_->Open(path_, 0, 1024));
  const Arming badDisk(Call::kFileRead, {.first = 3, .error = os::kErrorIoDevice});
  EXPECT_EQ(0U, writer_->WriteFile(dir_.File("big").c_str()));
  EXPECT_TRUE(writer_->IsError());
}

TEST_F(FileWriterTest, WhatCannotBeOpened) {
  const std::string path = dir_.File("missing/file");
  EXPECT_FALSE(writer_->Open(path));
  const std::vector<lmktest::TracedRecord> records = traces_.Take();
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ("Open() could not open file \"" + path + "\".  \"No such file or directory\"(2).\n",
            records[0].text);
  EXPECT_EQ("FileWriter", records[0].key);
  EXPECT_TRUE(writer_->IsError() && !writer_->IsOpen());
  EXPECT_FALSE(writer_->Open(dir_.Path()) || writer_->Open(static_cast<const char*>(nullptr)));
  traces_.Take();
  EXPECT_FALSE(writer_->Write(1) || writer_->SetPosition(0) || writer_->StartCompressedSection() ||
               writer_->EndCompressedSection());
  EXPECT_EQ(0U, writer_->Write("abc", 3));
  EXPECT_EQ("FlushBuffer() failed because file is closed.\n", traces_.TakeTexts().front());
  EXPECT_TRUE(writer_->Close());
  EXPECT_TRUE(writer_->Open(path_) && !writer_->IsError() && writer_->Write(1) && writer_->Close());
}

// A full disk, a call that writes less: nothing more may come behind the gap.
TEST_F(FileWriterTest, NothingIsWrittenAfterAFailure) {
  for (const os::SystemError error : {os::kErrorDiskFull, os::kSuccess}) {
    ASSERT_TRUE(writer_->Open(path_, 0, 1024));
    {
      const Arming fullDisk(Call::kFileWrite, {.first = 2, .error = error, .cutTo = 7});
      for (int i = 0; i < 2; ++i) EXPECT_EQ(1000U, writer_->Write(std::string(1000, 'a').data(), 1000));
      EXPECT_LT(writer_->Write(std::string(600, 'b').data(), 600), 600U);
    }
    EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FlushBuffer() failed to write 1024 bytes.\n"));
    EXPECT_TRUE(writer_->IsError());
    EXPECT_FALSE(writer_->Write(1) || writer_->Write(true) || writer_->SetPosition(0));
    EXPECT_EQ(0U, writer_->Write("cc", 2));
    EXPECT_FALSE(writer_->Close() || writer_->IsOpen());
    EXPECT_EQ(1024U + 7, dir_.Read("\xC3\xBC.bin").size());
  }
}

TEST_F(FileWriterTest, CloseTellsWhatIsLost) {
  ASSERT_TRUE(writer_->Open(path_) && writer_->Write(1));
  {
    const Arming fullDisk(Call::kFileWrite, {.error = os::kErrorDiskFull});
    EXPECT_FALSE(writer_->Close());
  }
  ASSERT_TRUE(writer_->Open(path_) && writer_->Write(1));
  {
    const Arming quota(Call::kFileClose, {.error = os::kErrorDiskFull});
    EXPECT_FALSE(writer_->Close());
  }
  EXPECT_FALSE(writer_->IsOpen());
  EXPECT_EQ(4U, dir_.Read("\xC3\xBC.bin").size());
  EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FlushBuffer() failed to write 4 bytes.\n",
                                               HasSubstr("Close() could not close file")));
  ASSERT_TRUE(writer_->Open(path_, 0, 2000));
  {
    const Arming noMemory(Call::kHeapAllocate, {.count = kForEver});
    EXPECT_FALSE(writer_->Write(1));
  }
  EXPECT_THAT(traces_.TakeTexts(), testing::Contains("FlushBuffer() failed to allocate buffer.\n"));
  EXPECT_FALSE(writer_->Close());
  ASSERT_TRUE(writer_->Open(path_, 0, 3000));
  const Arming noMemory(Call::kHeapAllocate, {.count = kForEver});
  EXPECT_TRUE(writer_->Close());  // nothing is lost
}

}  // namespace
}  // namespace du
