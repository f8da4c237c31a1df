#include "lmkutils/files/file_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

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

static_assert(!std::is_copy_constructible_v<FileReader> && !std::is_copy_assignable_v<FileReader>);

std::string AnyBytes(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// The value in the file, which is known to be there.
template <class T>
T Next(FileReader& reader) {
  T value{};
  EXPECT_TRUE(reader.Read(value)) << reader.GetPosition();
  return value;
}

class FileReaderTest : public testing::Test {
 protected:
  lmktest::TempDir dir_;
  lmktest::TraceRecorder traces_;
  FileReader reader_;
};

TEST_F(FileReaderTest, ReadsEveryTypeInBothOrders) {
  const std::string bytes(
      "\xFF\xFE\xFF\xFE\xFF\xFE\x01\x02\x03\x04\x81\x02\x03\x04\x3F\xC0\0\0\x40\x09\x21\xFB"
      "\x54\x44\x2D\x18\x81\x02\x03\x04\x05\x06\x07\x08\x01\x02\x03\x04\x05\x06\x07\x08\x02\0",
      44);
  ASSERT_TRUE(reader_.Open(dir_.Write("big", bytes), 1));
  EXPECT_EQ(char(-1), Next<char>(reader_));
  EXPECT_EQ(0xFE, Next<unsigned char>(reader_));
  EXPECT_EQ(-2, Next<short>(reader_));
  EXPECT_EQ(0xFFFE, Next<unsigned short>(reader_));
  EXPECT_EQ(0x01020304, Next<int>(reader_));
  EXPECT_EQ(0x81020304U, Next<unsigned int>(reader_));
  EXPECT_EQ(1.5F, Next<float>(reader_));
  EXPECT_EQ(3.141592653589793, Next<double>(reader_));
  EXPECT_EQ(-0x7EFDFCFBFAF9F8F8, Next<std::int64_t>(reader_));
  EXPECT_EQ(0x0102030405060708U, Next<std::uint64_t>(reader_));
  EXPECT_TRUE(Next<bool>(reader_));
  EXPECT_FALSE(Next<bool>(reader_));
  EXPECT_EQ(44, reader_.GetPosition());

  EXPECT_TRUE(reader_.SetPosition(6) && reader_.SetEndian(0));
  EXPECT_EQ(0x04030201, Next<int>(reader_));
  EXPECT_TRUE(reader_.SetPosition(18));
  double value;
  EXPECT_TRUE(reader_.SetEndian(1) && reader_.Read(&value, 1) == 1 && value == 3.141592653589793);
  EXPECT_TRUE(reader_.SetPosition(4) && reader_.SetEndian(0));
  EXPECT_EQ(0xFEFF, Next<unsigned short>(reader_));
}

TEST_F(FileReaderTest, ByteOrders) {
  EXPECT_EQ(0, reader_.GetEndian());
  const bool bigSystem = reader_.IsSystemBigEndian();
  EXPECT_EQ(bigSystem ? 1 : 0, reader_.GetSystemEndian());
  EXPECT_TRUE(reader_.SetEndian(1));
  for (const int code : {2, -1}) EXPECT_FALSE(reader_.SetEndian(code));
  EXPECT_TRUE(reader_.IsBigEndian() && !reader_.IsLittleEndian() && reader_.GetEndian() == 1);
  EXPECT_NE(bigSystem, reader_.MustSwapBytes());
  EXPECT_TRUE(reader_.Open(dir_.Write("file", "x"), 7));
  EXPECT_EQ(1, reader_.GetEndian());
  EXPECT_TRUE(reader_.Open(dir_.File("file")));
  EXPECT_TRUE(reader_.IsLittleEndian());
}

// A signalling NaN changes when it passes through a register of the x87.
TEST_F(FileReaderTest, KeepsTheBitsOfEveryNumber) {
  const std::string bytes("\x7F\xF4\0\0\0\0\0\x01\x7F\xA0\0\x01", 12);
  ASSERT_TRUE(reader_.Open(dir_.Write("nan", bytes), 1));
  double wide;
  float narrow;
  ASSERT_TRUE(reader_.Read(wide) && reader_.Read(narrow));
  std::string back(12, '\0');
  std::memcpy(back.data(), &wide, 8);
  std::memcpy(back.data() + 8, &narrow, 4);
  std::reverse(back.begin(), back.begin() + 8);
  std::reverse(back.begin() + 8, back.end());
  EXPECT_EQ(bytes, back);
}

// What a file of these bytes gives, by the simplest means.
class Model {
 public:
  explicit Model(std::string bytes) : bytes_(std::move(bytes)) {}

  // The next `size` bytes in units of `width`, each reversed on demand.
  std::string Take(std::size_t size, std::size_t width, bool swaps) {
    const std::size_t left = bytes_.size() - std::min(position, bytes_.size());
    std::string taken =
        bytes_.substr(std::min(position, bytes_.size()), std::min(size, left / width * width));
    for (std::size_t i = 0; swaps && i < taken.size(); i += width) {
      std::reverse(taken.data() + i, taken.data() + i + width);
    }
    position += taken.size();
    return taken;
  }

  std::size_t position = 0;

 private:
  std::string bytes_;
};

template <class T>
std::string TakeArray(FileReader& reader, std::size_t count) {
  std::vector<T> values(count + 1);
  const unsigned taken = reader.Read(values.data(), static_cast<unsigned>(count));
  return std::string(reinterpret_cast<const char*>(values.data()), taken * sizeof(T));
}

template <class T>
std::string TakeOne(FileReader& reader) {
  T value;
  return reader.Read(value) ? std::string(reinterpret_cast<const char*>(&value), sizeof(T)) : "";
}

// Random reads and moves over a file of some buffers, and over its end.
TEST_F(FileReaderTest, AgreesWithAPlainModel) {
  const std::string bytes = AnyBytes(20'011);
  const std::string path = dir_.Write("file", bytes);
  for (const unsigned bufferSize : {10U, 1030U, 65536U}) {
    Model model(bytes);
    ASSERT_TRUE(reader_.Open(path, 0, bufferSize));
    std::mt19937 random(bufferSize);
    for (int step = 0; step < 3000; ++step) {
      if (random() % 16 == 0) reader_.SetEndian(static_cast<int>(random() % 2));
      const bool swaps = reader_.MustSwapBytes();
      const std::size_t count = random() % 8 == 0 ? random() % 5000 : random() % 40;
      std::string expected;
      std::string taken;
      switch (random() % 10) {
        case 0:
          expected = model.Take(1, 1, false), taken = TakeOne<char>(reader_);
          break;
        case 1:
          expected = model.Take(2, 2, swaps), taken = TakeOne<short>(reader_);
          break;
        case 2:
          expected = model.Take(4, 4, swaps), taken = TakeOne<float>(reader_);
          break;
        case 3:
          expected = model.Take(8, 8, swaps), taken = TakeOne<std::int64_t>(reader_);
          break;
        case 4:
          expected = model.Take(count, 1, false), taken = TakeArray<unsigned char>(reader_, count);
          break;
        case 5:
          expected = model.Take(2 * count, 2, swaps), taken = TakeArray<unsigned short>(reader_, count);
          break;
        case 6:
          expected = model.Take(4 * count, 4, swaps), taken = TakeArray<int>(reader_, count);
          break;
        case 7:
          expected = model.Take(8 * count, 8, swaps), taken = TakeArray<double>(reader_, count);
          break;
        case 8:
          model.position = random() % (bytes.size() + 20);
          ASSERT_TRUE(reader_.SetPosition(static_cast<std::int64_t>(model.position)));
          ASSERT_FALSE(reader_.IsEOF());
          break;
        default:
          model.position += count;
          ASSERT_TRUE(reader_.SkipBytes(static_cast<std::int64_t>(count)));
      }
      ASSERT_EQ(expected, taken) << "step " << step;
      ASSERT_EQ(static_cast<std::int64_t>(model.position), reader_.GetPosition()) << "step " << step;
      ASSERT_GE(reader_.GetFilePos(), reader_.GetPosition());
    }
  }
}

TEST_F(FileReaderTest, EndOfFileIsAnErrorOnlyThereafter) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", "abcde"), 0, 10));
  EXPECT_EQ('a' + 256 * 'b' + 65536 * 'c' + 16777216 * 'd', Next<int>(reader_));
  EXPECT_FALSE(reader_.IsEOF());
  int value = 77;
  EXPECT_FALSE(reader_.Read(value));
  EXPECT_TRUE(reader_.IsEOF() && !reader_.IsError());
  EXPECT_FALSE(reader_.Read(value));
  EXPECT_TRUE(reader_.IsError());
  EXPECT_EQ(77, value);
  EXPECT_EQ(4, reader_.GetPosition());
  EXPECT_EQ('e', Next<char>(reader_));
  EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FillBuffer() failed to read because of EOF (4).\n"));
  EXPECT_TRUE(reader_.Rewind());
  EXPECT_TRUE(!reader_.IsEOF() && reader_.IsError());
  char many[9];
  EXPECT_EQ(5U, reader_.Read(many, 9));
  EXPECT_EQ("abcde", std::string(many, 5));
  EXPECT_TRUE(reader_.Open(dir_.File("file")) && !reader_.IsError() && !reader_.IsEOF());
}

// Unlike the end that comes without any more bytes.
TEST_F(FileReaderTest, AFileThatEndsInsideItsFirstValueIsAnError) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", "abc")));
  int value = 77;
  EXPECT_FALSE(reader_.Read(value));
  EXPECT_TRUE(reader_.IsError() && value == 77 && reader_.GetPosition() == 0);
  EXPECT_THAT(traces_.TakeTexts(),
              ElementsAre("FillBuffer() failed - not enough data, requested 4 bytes.\n"));
  EXPECT_EQ("abc", reader_.ReadRemainingContents());
  // An array that is read without the detour through the buffer makes no difference.
  ASSERT_TRUE(reader_.Rewind());
  int many[1024];
  ASSERT_TRUE(reader_.Open(dir_.File("file"), reader_.GetSystemEndian(), sizeof(many) / 4));
  EXPECT_EQ(0U, reader_.Read(many, 1024));
  EXPECT_TRUE(reader_.IsError() && reader_.GetPosition() == 0);
}

TEST_F(FileReaderTest, MovesInTheFile) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", AnyBytes(5000)), 0, 1024));
  EXPECT_TRUE(reader_.SkipUInt16s(3) && reader_.SkipFloats(2) && reader_.SkipDoubles(1));
  EXPECT_EQ(22, reader_.GetPosition());
  EXPECT_TRUE(reader_.Rewind(2) && reader_.Forward(-5));
  EXPECT_EQ(15, reader_.GetPosition());
  EXPECT_TRUE(reader_.SetPosition(6000));
  char byte;
  EXPECT_FALSE(reader_.Read(byte));
  EXPECT_TRUE(reader_.IsEOF() && !reader_.IsError());
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  EXPECT_FALSE(reader_.SkipDoubles(kMost / 8 + 1) || reader_.Forward(kMost) || reader_.Rewind(-kMost - 1));
  EXPECT_TRUE(reader_.IsError());
  EXPECT_EQ(6000, reader_.GetPosition());
  ASSERT_TRUE(reader_.Open(dir_.File("file")));
  EXPECT_FALSE(reader_.SetPosition(-1) || reader_.Rewind(1));
  EXPECT_TRUE(reader_.IsError());
  EXPECT_EQ(0, reader_.GetPosition());
}

// The data that a move finds in the buffer is not read again.
TEST_F(FileReaderTest, MovesInsideTheBufferWithoutTheFile) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", AnyBytes(5000)), 0, 10));
  Next<char>(reader_);
  EXPECT_EQ(1024, reader_.GetFilePos());  // the least size of a buffer
  const Arming noFile(Call::kFileRead, {.count = os::fault::kForEver});
  for (const std::int64_t position : {1000, 0, 1024}) EXPECT_TRUE(reader_.SetPosition(position));
  EXPECT_TRUE(reader_.SetPosition(3));
  Next<double>(reader_);
  EXPECT_EQ(0U, os::fault::CountOf(Call::kFileRead));
}

TEST_F(FileReaderTest, RemainingContents) {
  const std::string bytes = AnyBytes(3333);
  ASSERT_TRUE(reader_.Open(dir_.Write("file", bytes), 0, 1024));
  EXPECT_TRUE(reader_.SetPosition(100));
  Next<double>(reader_);
  EXPECT_EQ(bytes.substr(108), reader_.ReadRemainingContents());
  EXPECT_EQ("", reader_.ReadRemainingContents());
  EXPECT_TRUE(reader_.IsEOF() && !reader_.IsError());
  ASSERT_TRUE(reader_.Open(dir_.Write("empty", "")));
  EXPECT_EQ("", reader_.ReadRemainingContents());
  EXPECT_FALSE(reader_.IsError());
}

TEST_F(FileReaderTest, NamesAndUrls) {
  const std::string path = dir_.Write("\xC3\xA4.bin", "x");
  EXPECT_TRUE(reader_.Open(Symbol(path), "base", 0, 0));
  EXPECT_EQ(path, reader_.GetName());
  EXPECT_EQ("base", reader_.GetSourceFileBaseUrl());
  EXPECT_TRUE(reader_.Open(reader_.GetName()));
  EXPECT_EQ("", reader_.GetSourceFileBaseUrl());
  reader_.Close();
  EXPECT_TRUE(!reader_.IsOpen() && !reader_.IsError());
  EXPECT_EQ(path, reader_.GetName());
}

TEST_F(FileReaderTest, WhatCannotBeOpened) {
  const std::string missing = dir_.File("missing");
  EXPECT_FALSE(reader_.Open(missing));
  const std::string text =
      "Open() could not open file \"" + missing + "\".  \"No such file or directory\"(2).\n";
  const std::vector<lmktest::TracedRecord> records = traces_.Take();
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ(text, records[0].text);
  EXPECT_EQ("FileReader", records[0].key);
  EXPECT_EQ(dp::TraceType::Error, records[0].type);
  EXPECT_TRUE(reader_.IsError() && !reader_.IsOpen());
  EXPECT_FALSE(reader_.Open(dir_.Path()));
  EXPECT_FALSE(reader_.Open(dir_.Write("file", "x") + std::string("\0y", 2)));
  EXPECT_FALSE(reader_.Open(static_cast<const char*>(nullptr)) || reader_.Open(Symbol()));
  traces_.Take();
  char byte = 'a';
  EXPECT_FALSE(reader_.Read(byte) || reader_.Rewind() || reader_.StartCompressedSection());
  EXPECT_EQ(0U, reader_.Read(&byte, 1));
  EXPECT_EQ("FillBuffer() failed because file is closed.\n", traces_.TakeTexts().front());
  EXPECT_EQ("", reader_.ReadRemainingContents());
  EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FillBuffer() failed because file is closed.\n"));
  EXPECT_TRUE(reader_.Open(dir_.File("file")) && !reader_.IsError());
  EXPECT_EQ(0U, reader_.Read(static_cast<int*>(nullptr), 3));
}

TEST_F(FileReaderTest, CallsThatComeUpShortAreRepeated) {
  const std::string bytes = AnyBytes(4000);
  ASSERT_TRUE(reader_.Open(dir_.Write("file", bytes), 0, 1024));
  const Arming shortReads(Call::kFileRead, {.count = os::fault::kForEver, .error = os::kSuccess, .cutTo = 3});
  EXPECT_EQ(bytes.substr(0, 8), TakeOne<double>(reader_));
  EXPECT_EQ(bytes.substr(8, 3960), TakeArray<double>(reader_, 495));
  EXPECT_EQ(bytes.substr(3968), reader_.ReadRemainingContents());
  EXPECT_THAT(traces_.TakeTexts(), IsEmpty());
}

TEST_F(FileReaderTest, FailingCallsAreTold) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", AnyBytes(9000)), 0, 1024));
  int value = 5;
  {
    const Arming badDisk(Call::kFileRead, {.count = os::fault::kForEver, .error = os::kErrorIoDevice});
    EXPECT_FALSE(reader_.Read(value));
    EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FillBuffer() failed to read (1117).\n"));
    EXPECT_THAT(TakeArray<int>(reader_, 2000), IsEmpty());
    EXPECT_EQ("", reader_.ReadRemainingContents());
  }
  EXPECT_TRUE(reader_.IsError() && !reader_.IsEOF());
  EXPECT_EQ(0, reader_.GetPosition());
  EXPECT_THAT(traces_.TakeTexts(), SizeIs(2));
  {
    ASSERT_TRUE(reader_.Open(dir_.File("file"), 0, 2000));
    const Arming noMemory(Call::kHeapAllocate, {.count = os::fault::kForEver});
    EXPECT_FALSE(reader_.Read(value));
  }
  EXPECT_THAT(traces_.TakeTexts(), testing::Contains("FillBuffer() failed to allocate buffer.\n"));
  EXPECT_TRUE(reader_.Read(value));
  const Arming noSeek(Call::kFileSeek, {.error = os::kErrorInvalidHandle});
  ASSERT_TRUE(reader_.Open(dir_.File("file")) && !reader_.IsError());
  EXPECT_FALSE(reader_.SetPosition(5000));
  EXPECT_TRUE(reader_.IsError());
  EXPECT_EQ(0, reader_.GetPosition());
}

}  // namespace
}  // namespace du
