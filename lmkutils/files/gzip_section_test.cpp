// Compressed sections in both directions, against zlib itself and the gzip of the system.
#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <zlib.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::StartsWith;

constexpr int kRaw = -15;
constexpr int kZlib = 15;
constexpr int kGzip = 31;

// Half of it random, so that it packs to a little more than half of its size.
std::string SomeText(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::string text(size, 'x');
  for (std::size_t i = 0; i < size; i += 1 + i % 2) text[i] = static_cast<char>(random());
  return text;
}

// By zlib alone.
std::string Packed(std::string plain, int windowBits, int level = 6, gz_header* header = nullptr) {
  z_stream stream{};
  EXPECT_EQ(Z_OK, deflateInit2(&stream, level, Z_DEFLATED, windowBits, 9, Z_DEFAULT_STRATEGY));
  if (header != nullptr) {
    EXPECT_EQ(Z_OK, deflateSetHeader(&stream, header));
  }
  std::string packed(plain.size() + 100'000, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(plain.data());
  stream.avail_in = static_cast<uInt>(plain.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(Z_STREAM_END, deflate(&stream, Z_FINISH));
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string GzipMember(const std::string& plain) {
  return Packed(plain, kGzip);
}

// With all optional fields that the format has.
std::string GzipMemberWithFields(const std::string& plain, std::string extra, std::size_t commentSize) {
  std::string name = "na\xC3\xAFve name";
  std::string comment(commentSize, 'c');
  gz_header header{};
  header.extra = reinterpret_cast<Bytef*>(extra.data());
  header.extra_len = static_cast<uInt>(extra.size());
  header.name = reinterpret_cast<Bytef*>(name.data());
  header.comment = reinterpret_cast<Bytef*>(comment.data());
  header.hcrc = 1;
  header.time = 1'700'000'000;
  return Packed(plain, kGzip, 6, &header);
}

std::uint32_t LittleEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

class GzipSectionTest : public testing::Test {
 protected:
  // What a section at the reader's position gives.
  std::string ReadSection() {
    EXPECT_TRUE(reader_.StartCompressedSection() && reader_.IsCompressed());
    const std::string plain = reader_.ReadRemainingContents();
    EXPECT_TRUE(reader_.EndCompressedSection(true) && !reader_.IsCompressed());
    return plain;
  }

  // Writes a section of these bytes, alone in a file.
  std::string WriteSection(const std::string& plain, COMPRESSION_LEVEL level, unsigned bufferSize) {
    const SmartPtr<FileWriter> writer = FileWriter::Construct();
    const std::string path = dir_.File("section.gz");
    EXPECT_TRUE(writer->Open(path, 1, bufferSize) && writer->StartCompressedSection(level));
    EXPECT_EQ(plain.size(), writer->Write(plain.data(), static_cast<unsigned>(plain.size())));
    EXPECT_TRUE(writer->EndCompressedSection() && writer->Close());
    return path;
  }

  // The standard output of a command of the shell, whose "$1" is `path`.
  static std::string Shell(const char* command, const std::string& path) {
    const lmktest::ChildResult result = lmktest::RunChild({"/bin/sh", "-c", command, "sh", path});
    EXPECT_EQ(0, result.exitCode) << command << ": " << result.err;
    return result.out;
  }
  // Where paths have drives there is no such shell (under Wine one that does not know our paths).
  static bool HasGzip() {
    if (os::GetCapabilities().absolutePathsHaveDrive) return false;
    return lmktest::RunChild({"/bin/sh", "-c", "gzip --version && zcat --version"}).exitCode == 0;
  }

  lmktest::TempDir dir_;
  lmktest::TraceRecorder traces_;
  FileReader reader_;
};

TEST_F(GzipSectionTest, IsAGzipMemberOfExactlyTheBytesBetweenStartAndEnd) {
  for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 70'000U}) {
    for (const COMPRESSION_LEVEL level : {DEFAULT_COMPRESSION, BEST_COMPRESSION}) {
      const std::string plain = SomeText(size);
      const std::string file = lmktest::ReadWholeFile(WriteSection(plain, level, 1024));
      EXPECT_THAT(file, StartsWith(std::string("\x1F\x8B\x08\0\0\0\0\0\0\0", 10)));
      EXPECT_EQ(crc32(0, reinterpret_cast<const Bytef*>(plain.data()), static_cast<uInt>(size)),
                LittleEndian(file, file.size() - 8));
      EXPECT_EQ(size, LittleEndian(file, file.size() - 4));
      EXPECT_EQ(Packed(plain, kRaw, level == BEST_COMPRESSION ? 9 : -1), file.substr(10, file.size() - 18));
    }
  }
}

TEST_F(GzipSectionTest, GzipReadsWhatIsWritten) {
  if (!HasGzip()) GTEST_SKIP() << "there is no gzip here";
  const std::string plain(100'000, 'p');
  for (const COMPRESSION_LEVEL level : {DEFAULT_COMPRESSION, BEST_COMPRESSION}) {
    const std::string path = WriteSection(plain, level, 0);
    Shell("gzip -t \"$1\"", path);
    EXPECT_EQ(plain, Shell("zcat \"$1\"", path));
  }
}

TEST_F(GzipSectionTest, WhatGzipWritesIsRead) {
  if (!HasGzip()) GTEST_SKIP() << "there is no gzip here";
  const std::string plain = SomeText(150'000);
  for (int level = 1; level <= 9; ++level) {
    dir_.Write("plain", plain);
    Shell(("gzip -f -N -" + std::to_string(level) + " \"$1\"").c_str(), dir_.File("plain"));
    ASSERT_TRUE(reader_.Open(dir_.File("plain.gz"), 0, 1024));
    EXPECT_EQ(plain, ReadSection());
    EXPECT_EQ("", reader_.ReadRemainingContents());
  }
}

// Random plain data and sections, written and read with buffers of other sizes and by other calls.
TEST_F(GzipSectionTest, RoundTripsInTheMiddleOfAFile) {
  const SmartPtr<FileWriter> writer = FileWriter::Construct();
  std::mt19937 engine(7);
  const auto random = [&] { return static_cast<unsigned>(engine()); };
  for (int round = 0; round < 60; ++round) {
    const auto anySize = [&] { return random() % 4 == 0 ? random() % 9000 : random() % 100; };
    const int endian = static_cast<int>(random() % 2);
    ASSERT_TRUE(writer->Open(dir_.File("file"), endian, random() % 5000));
    ASSERT_TRUE(reader_.Open(dir_.Write("none", ""), endian));
    std::vector<std::vector<int>> pieces;
    std::vector<std::int64_t> starts;
    for (int piece = 0; piece < 6; ++piece) {
      starts.push_back(writer->GetPosition());
      ASSERT_TRUE(piece % 2 == 0 || writer->StartCompressedSection(COMPRESSION_LEVEL(random() % 3)));
      std::vector<int>& values = pieces.emplace_back(anySize());
      for (int& value : values) value = static_cast<int>(random()) & 0x3FF;
      const std::size_t single = values.size() / 3;
      for (std::size_t i = 0; i < single; ++i) ASSERT_TRUE(writer->Write(values[i]));
      const auto rest = static_cast<unsigned>(values.size() - single);
      ASSERT_EQ(rest, writer->Write(values.data() + single, rest));
      ASSERT_EQ(starts.back() + static_cast<std::int64_t>(4 * values.size()), writer->GetPosition());
      ASSERT_TRUE(piece % 2 == 0 || writer->EndCompressedSection());
    }
    ASSERT_TRUE(writer->Close());

    ASSERT_TRUE(reader_.Open(dir_.File("file"), endian, random() % 3000));
    for (std::size_t piece = 0; piece < 6; ++piece) {
      ASSERT_EQ(starts[piece], reader_.GetPosition());
      ASSERT_TRUE(piece % 2 == 0 || reader_.StartCompressedSection());
      std::vector<int> values(pieces[piece].size());
      const std::size_t single = values.size() / 2;
      ASSERT_EQ(single, reader_.Read(values.data(), static_cast<unsigned>(single)));
      for (std::size_t i = single; i < values.size(); ++i) ASSERT_TRUE(reader_.Read(values[i]));
      ASSERT_EQ(pieces[piece], values);
      ASSERT_TRUE(piece % 2 == 0 || reader_.EndCompressedSection(true));
    }
    ASSERT_EQ("", reader_.ReadRemainingContents());
    ASSERT_FALSE(reader_.IsError());
    ASSERT_TRUE(reader_.SetPosition(starts[3]));
    if (!pieces[3].empty()) {
      int value = 0;
      ASSERT_TRUE(reader_.StartCompressedSection() && reader_.Read(value) && value == pieces[3][0]);
    }
  }
}

TEST_F(GzipSectionTest, EveryKindOfHeader) {
  const std::string plain = SomeText(5000);
  for (const std::string& section :
       {GzipMember(plain), GzipMemberWithFields(plain, "", 3000),
        GzipMemberWithFields(plain, std::string(65'535, 'e'), 0), Packed(plain, kZlib)}) {
    ASSERT_TRUE(reader_.Open(dir_.Write("file", "ab" + section + "cd"), 0, 1024) && reader_.SkipBytes(2));
    EXPECT_EQ(plain, ReadSection());
    EXPECT_EQ("cd", reader_.ReadRemainingContents());
    EXPECT_FALSE(reader_.IsError());
  }
}

TEST_F(GzipSectionTest, LimitsCountBehindTheHeader) {
  const std::string plain = SomeText(9000);
  const std::string member = GzipMember(plain);
  const std::string zlib = Packed(plain, kZlib);
  const auto size = [](const std::string& section, int more) {
    return static_cast<int>(section.size()) + more;
  };
  struct Case {
    std::string section;
    int limit;
  };
  for (const unsigned bufferSize : {1024U, 30'000U}) {
    for (const Case& c : {Case{member, size(member, -18)}, Case{member, size(member, 0)},
                          Case{zlib, size(zlib, 0)}, Case{zlib, size(zlib, 1)}}) {
      ASSERT_TRUE(reader_.Open(dir_.Write("file", "abc" + c.section + "rest"), 0, bufferSize));
      ASSERT_TRUE(reader_.SkipBytes(3) && reader_.StartCompressedSection(static_cast<unsigned>(c.limit)));
      EXPECT_EQ(plain, reader_.ReadRemainingContents());
      EXPECT_TRUE(reader_.EndCompressedSection(true));
      EXPECT_EQ("rest", reader_.ReadRemainingContents());
    }
    ASSERT_TRUE(reader_.Open(dir_.Write("file", member), 0, bufferSize) &&
                reader_.StartCompressedSection(2000));
    const std::string part = reader_.ReadRemainingContents();
    EXPECT_TRUE(part.size() > 1000 && part.size() < 6000 && plain.starts_with(part));
    EXPECT_TRUE(reader_.EndCompressedSection(false));
    EXPECT_EQ(2010, reader_.GetPosition());
    EXPECT_EQ(member.substr(2010), reader_.ReadRemainingContents());
  }
  ASSERT_TRUE(reader_.SetPosition(0) && !reader_.IsError());
  EXPECT_FALSE(reader_.StartCompressedSection(0) || reader_.IsCompressed() || reader_.IsError());
}

// The end mark may lie in the input that is used up already.
TEST_F(GzipSectionTest, NoSectionLosesItsTail) {
  for (std::size_t size = 1500; size < 2300; size += 5) {
    const std::string plain = SomeText(size);
    ASSERT_TRUE(reader_.Open(dir_.Write("file", GzipMember(plain) + "z"), 0, 1024));
    ASSERT_EQ(plain, ReadSection());
    ASSERT_EQ("z", reader_.ReadRemainingContents());
  }
}

TEST_F(GzipSectionTest, MovesInside) {
  const std::string plain = SomeText(5000);
  const std::string member = GzipMember(plain);
  ASSERT_TRUE(reader_.Open(dir_.Write("file", "abcd" + member), 0, 1024) && reader_.SkipFloats(1));
  ASSERT_TRUE(reader_.StartCompressedSection());
  EXPECT_FALSE(reader_.SetPosition(0) || reader_.Rewind() || reader_.Rewind(1) || reader_.Forward(-1));
  EXPECT_FALSE(reader_.IsError());
  EXPECT_TRUE(reader_.SkipDoubles(300));
  char byte;
  EXPECT_TRUE(reader_.Read(byte) && byte == plain[2400]);
  EXPECT_EQ(4 + 2401, reader_.GetPosition());
  EXPECT_FALSE(reader_.Forward(5000));
  EXPECT_TRUE(reader_.IsError());
  EXPECT_EQ("FillBuffer() failed because end of compressed section reached.\n", traces_.TakeTexts().back());
  EXPECT_TRUE(reader_.EndCompressedSection(false) && reader_.SetPosition(4));
  EXPECT_FALSE(reader_.EndCompressedSection(false));
  EXPECT_EQ(plain, ReadSection());
}

TEST_F(GzipSectionTest, SectionsDoNotNest) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", GzipMember("plain"))) && reader_.StartCompressedSection());
  EXPECT_FALSE(reader_.StartCompressedSection() || !reader_.IsError() || !reader_.IsCompressed());
  double number;
  char more[9];
  EXPECT_FALSE(reader_.Read(number));
  EXPECT_EQ(5U, reader_.Read(more, 9));
  EXPECT_THAT(traces_.TakeTexts(),
              ElementsAre("FillBuffer() failed - not enough data, requested 8 bytes.\n",
                          "FillBuffer() failed because end of compressed section reached.\n"));
  EXPECT_TRUE(reader_.Open(dir_.File("file")) && !reader_.IsCompressed());

  const SmartPtr<FileWriter> writer = FileWriter::Construct();
  ASSERT_TRUE(writer->Open(dir_.File("out")) && writer->StartCompressedSection());
  EXPECT_FALSE(writer->StartCompressedSection() || writer->SetPosition(0));
  EXPECT_TRUE(writer->IsError() && writer->IsCompressed() && writer->Write("plain", 5) == 5);
  EXPECT_FALSE(writer->Close());  // though all is there, the section ended
  ASSERT_TRUE(reader_.Open(dir_.File("out")));
  EXPECT_EQ("plain", ReadSection());
}

// Cut at every byte: never the whole of it, never without a word, and the reader goes on to work.
TEST_F(GzipSectionTest, CutAnywhere) {
  const std::string plain = SomeText(200);
  for (const std::string& section : {GzipMemberWithFields(plain, "extra", 20), Packed(plain, kZlib)}) {
    for (std::size_t size = 0; size<section.size(); size += size> 20 && size < 3000 ? 7 : 1) {
      ASSERT_TRUE(reader_.Open(dir_.Write("file", section.substr(0, size)), 0, 1024));
      if (reader_.StartCompressedSection()) {
        const std::string part = reader_.ReadRemainingContents();
        ASSERT_TRUE(plain.starts_with(part));
        ASSERT_FALSE(reader_.EndCompressedSection(true)) << size;
      } else {
        ASSERT_EQ(0, reader_.GetPosition());
      }
      ASSERT_TRUE(reader_.IsError() && !reader_.IsCompressed()) << size;
      ASSERT_TRUE(reader_.Rewind());
      ASSERT_EQ(section.substr(0, size), reader_.ReadRemainingContents());
    }
  }
  EXPECT_THAT(traces_.TakeTexts(),
              testing::Contains("FillBuffer() failed - not enough data, requested 1 bytes.\n"));
}

TEST_F(GzipSectionTest, HeadersThatNoVersionOfTheFormatAllows) {
  const std::string member = GzipMember("plain");
  const auto with = [&](std::size_t at, char byte) {
    std::string changed = member;
    changed[at] = byte;
    return "ab" + changed;
  };
  for (const std::string& bytes :
       {with(2, 7), with(3, '\x20'), with(3, '\x80'), "ab" + member.substr(0, 3) + "\x08name without end",
        with(3, 4) /* a field longer than the file */, std::string("abc")}) {
    ASSERT_TRUE(reader_.Open(dir_.Write("file", bytes)) && reader_.SkipBytes(2));
    EXPECT_FALSE(reader_.StartCompressedSection() || reader_.IsCompressed());
    EXPECT_TRUE(reader_.IsError());
    EXPECT_EQ(2, reader_.GetPosition());
  }
}

TEST_F(GzipSectionTest, DamagedDataIsGoodUpToTheFault) {
  const std::string plain = SomeText(20'000);
  std::string member = GzipMember(plain);
  for (std::size_t i = 8000; i < 8100; ++i) member[i] = '\xFF';
  ASSERT_TRUE(reader_.Open(dir_.Write("file", member + "abc"), 0, 1024) && reader_.StartCompressedSection());
  EXPECT_GT(reader_.ReadRemainingContents().size(), 7000U);
  EXPECT_TRUE(reader_.IsError() && !reader_.IsEOF());
  EXPECT_FALSE(reader_.EndCompressedSection(true) || reader_.IsCompressed());
  EXPECT_EQ("FillBuffer() failed inflate data (-3).\n", traces_.TakeTexts().front());
  ASSERT_TRUE(reader_.Open(dir_.Write("file", "no stream at all")) && reader_.StartCompressedSection());
  char byte;
  EXPECT_FALSE(reader_.Read(byte));
}

// A wrong checksum of a zlib stream is zlib's to find; the trailer of a gzip member is not looked at.
TEST_F(GzipSectionTest, Checksums) {
  std::string member = GzipMember("plain");
  member[member.size() - 8] ^= 1;
  member.back() ^= 1;
  ASSERT_TRUE(reader_.Open(dir_.Write("file", member)));
  EXPECT_EQ("plain", ReadSection());
  std::string zlib = Packed("plain", kZlib);
  zlib.back() ^= 1;
  ASSERT_TRUE(reader_.Open(dir_.Write("file", zlib)) && reader_.StartCompressedSection());
  EXPECT_EQ("plain", reader_.ReadRemainingContents());
  EXPECT_FALSE(reader_.EndCompressedSection(true));
}

TEST_F(GzipSectionTest, LargeArraysInBothOrders) {
  const std::string plain = SomeText(400'001);
  const std::string path = dir_.Write("file", GzipMember(plain));
  for (const int endian : {0, 1}) {
    ASSERT_TRUE(reader_.Open(path, endian, 1024) && reader_.StartCompressedSection());
    std::vector<double> values(60'000);
    EXPECT_EQ(50'000U, reader_.Read(values.data(), 60'000));
    std::string bytes(reinterpret_cast<const char*>(values.data()), 400'000);
    for (std::size_t i = 0; reader_.MustSwapBytes() && i < bytes.size(); i += 8) {
      std::reverse(bytes.data() + i, bytes.data() + i + 8);
    }
    EXPECT_TRUE(plain.starts_with(bytes));
    EXPECT_EQ(400'000, reader_.GetPosition());
    char last;
    EXPECT_TRUE(reader_.Read(last) && last == plain.back());
    EXPECT_TRUE(reader_.EndCompressedSection(true) && reader_.IsError());
  }
}

TEST_F(GzipSectionTest, WithoutMemoryNoSectionStarts) {
  const std::string path = dir_.Write("file", GzipMember(SomeText(3000)));
  const SmartPtr<FileWriter> writer = FileWriter::Construct();
  for (unsigned call = 1; call <= 3; ++call) {
    FileReader reader;
    ASSERT_TRUE(reader.Open(path, 0, 1024 + call) && writer->Open(dir_.File("out"), 0, 1024 + call));
    const Arming noMemory(Call::kHeapAllocate, {.first = call});
    EXPECT_FALSE(reader.StartCompressedSection() || reader.IsCompressed()) << call;
    os::fault::Arm(Call::kHeapAllocate, {.first = call});
    EXPECT_FALSE(writer->StartCompressedSection() || writer->IsCompressed()) << call;
    EXPECT_TRUE(reader.IsError() && writer->IsError());
    EXPECT_TRUE(reader.Rewind() && reader.StartCompressedSection());
    EXPECT_FALSE(writer->Close());
  }
}

TEST_F(GzipSectionTest, FailingCallsInside) {
  const std::string plain = SomeText(30'000);
  ASSERT_TRUE(reader_.Open(dir_.Write("file", GzipMember(plain)), 0, 1024) &&
              reader_.StartCompressedSection());
  {
    const Arming badDisk(Call::kFileRead, {.first = 3, .error = os::kErrorIoDevice});
    EXPECT_TRUE(plain.starts_with(reader_.ReadRemainingContents()));
    EXPECT_FALSE(reader_.EndCompressedSection(true));
  }
  EXPECT_EQ("FillBuffer() failed to read (1117).\n", traces_.TakeTexts().front());

  const SmartPtr<FileWriter> writer = FileWriter::Construct();
  const std::string more = SomeText(300'000);
  for (const unsigned call : {1U, 2U, 9U}) {
    ASSERT_TRUE(writer->Open(dir_.File("out"), 0, 1024) && writer->StartCompressedSection());
    const Arming fullDisk(Call::kFileWrite, {.first = call, .error = os::kErrorDiskFull});
    EXPECT_LT(writer->Write(more.data(), 300'000), 300'000U);
    EXPECT_FALSE(writer->EndCompressedSection() || writer->IsCompressed() || writer->Write(1));
    EXPECT_FALSE(writer->Close());
    EXPECT_EQ("FlushBuffer() failed to write 1024 bytes.\n", traces_.TakeTexts().front());
  }
}

// Whatever had come before the failure is there, and nothing is passed over.
TEST_F(GzipSectionTest, GoesOnAfterAPassingFailure) {
  const std::string plain = SomeText(30'000);
  const std::string path = dir_.Write("file", GzipMember(plain));
  const Call read = Call::kFileRead;
  ASSERT_TRUE(reader_.Open(path, 0, 1024) && reader_.StartCompressedSection());
  std::string taken(plain.size(), '\0');
  os::fault::Arm(read, {.first = 3, .error = os::kErrorIoDevice});
  const unsigned count = reader_.Read(taken.data(), 30'000);
  EXPECT_TRUE(count > 3000 && count < 30'000 && reader_.IsError() && reader_.GetPosition() == count);
  EXPECT_EQ(30'000 - count, reader_.Read(taken.data() + count, 30'000 - count));
  EXPECT_EQ(plain, taken);

  ASSERT_TRUE(reader_.Open(path, 0, 1024) && reader_.StartCompressedSection());
  os::fault::Arm(read, {.first = 3, .error = os::kErrorIoDevice});
  traces_.Take();
  EXPECT_FALSE(reader_.Forward(29'000));
  EXPECT_THAT(traces_.TakeTexts(), ElementsAre("FillBuffer() failed to read (1117).\n"));
  EXPECT_TRUE(reader_.Forward(29'000 - reader_.GetPosition()));
  EXPECT_EQ(plain.substr(29'000), reader_.ReadRemainingContents());
  os::fault::Disarm(read);
}

// 64 MiB out of 64 KiB, in the steps of the buffer.
TEST_F(GzipSectionTest, TakesNoMemoryByWhatASectionSays) {
  ASSERT_TRUE(reader_.Open(dir_.Write("file", GzipMember(std::string(64 << 20, '\0')))));
  ASSERT_TRUE(reader_.StartCompressedSection());
  const Arming noMemory(Call::kHeapAllocate, {.first = 3, .count = os::fault::kForEver});
  EXPECT_TRUE(reader_.SkipBytes((64 << 20) - 1));
  char last = 'x';
  EXPECT_TRUE(reader_.Read(last) && last == '\0' && reader_.EndCompressedSection(true));
}

}  // namespace
}  // namespace du
