#include "lmkutils/files/line_reader.h"

#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"
#include "lmkutils/files/line_writer.h"
#include "lmkutils/files/testing/reference_lines.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

std::string operator""_b(const char* bytes, std::size_t size) {
  return std::string(bytes, size);
}

class LineReaderTest : public testing::Test {
 protected:
  static constexpr unsigned kSmallBuffer = 1024;

  // Opens a file of these bytes in `reader_`.
  FileReader* Open(const std::string& bytes) {
    EXPECT_TRUE(reader_.Open(directory_.Write("lines", bytes), 0, kSmallBuffer));
    return &reader_;
  }

  static Texts Rest(LineReader& lines) {
    Texts texts;
    while (lines.ReadLine()) texts.push_back(lines.GetString());
    EXPECT_EQ(lines.GetSize(), 0u) << "after the last line";
    return texts;
  }
  Texts Lines(const std::string& bytes, int limit = 0) {
    LineReader lines(Open(bytes), limit);
    return Rest(lines);
  }

  const lmktest::TempDir directory_{"Zeilen ä"};
  FileReader reader_;
};

TEST_F(LineReaderTest, SplitsBytes) {
  const struct {
    std::string bytes;
    Texts lines;
  } cases[] = {
      {"", {}},
      {"a\r\nb", {"a", "b"}},
      {"a\rb\r\r\nc\r", {"a\rb\r", "c\r"}},
      {"\n\r\n\n", {"", "", ""}},
      {"\r", {"\r"}},
      {"\n\rx", {"", "\rx"}},
      {"a\0b\n\0"_b, {"a\0b"_b, "\0"_b}},
      {"\xC3\n\xFF\xFE\n", {"\xC3", "\xFF\xFE"}},
  };
  for (const auto& c : cases) EXPECT_EQ(Lines(c.bytes), c.lines) << testing::PrintToString(c.bytes);
}

TEST_F(LineReaderTest, TakesTheFormFromTheMark) {
  const struct {
    std::string bytes;
    Texts lines;
  } cases[] = {
      {"\xEF\xBB\xBF"
       "a\n\xEF\xBB\xBF\n",
       {"a", "\xEF\xBB\xBF"}},
      {"\xEF\xBB\xBF\n", {""}},
      {"\xEF\xBB"
       "ab",
       {"\xEF\xBB"
        "ab"}},
      {"\xFF\xFE"
       "a\0\n\0"_b,
       {"a"}},
      {"\xFE\xFF\0a\0\r\0\n\0b"_b, {"a", "b"}},
      // Shorter than four bytes: no mark is looked for.
      {"\xEF\xBB\xBF", {"\xEF\xBB\xBF"}},
      {"\xFF\xFE\n", {"\xFF\xFE"}},
      // Bytes of a line feed that are none: U+0A0D, U+0D0A, U+0A0A, U+010A; then a lone CR.
      {"\xFF\xFE\x0D\x0A\x0A\x0D\x0A\x0A\x0A\x01\r\0\n\0\r\0x\0"_b,
       {"\xE0\xA8\x8D\xE0\xB4\x8A\xE0\xA8\x8A\xC4\x8A", "\rx"}},
      {"\xFE\xFF\x0A\x0D\x0D\x0A\x0A\x00\x00\x0A"_b, {"\xE0\xA8\x8D\xE0\xB4\x8A\xE0\xA8\x80"}},
      // A pair of surrogates, then halves: the first one before a line feed, the second at the end.
      {"\xFF\xFE\x3D\xD8\x00\xDE\n\0\x3D\xD8\n\0\x00\xDE"_b,
       {"\xF0\x9F\x98\x80", "\xEF\xBF\xBD", "\xEF\xBF\xBD"}},
      // A unit that is cut in half.
      {"\xFF\xFE"
       "a\0b"_b,
       {"a"}},
      {"\xFE\xFF\0a\0\n\0"_b, {"a"}},
      {"\xFF\xFE"
       "a\0\0\0\n\0"_b,
       {"a\0"_b}},
  };
  for (const auto& c : cases) EXPECT_EQ(Lines(c.bytes), c.lines) << testing::PrintToString(c.bytes);
}

TEST_F(LineReaderTest, EndsTheBufferWithAZeroUnit) {
  LineReader lines(Open("\xFE\xFF\0a\x01\x02\0\n\0\n"_b));
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(std::string(lines.GetBuffer(), 6), "a\0\x02\x01\0\0"_b);
  EXPECT_EQ(lines.GetSize(), 4u);
  EXPECT_EQ(static_cast<const void*>(lines.GetBinBuffer()), lines.GetBuffer());
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(std::string(lines.GetBuffer(), 2), "\0\0"_b);
}

// CR and LF, and the halves of units, on both sides of the border of two chunks; lines that just fill the
// buffer before it doubles.
TEST_F(LineReaderTest, LineEndsMayLieAnywhere) {
  std::vector<std::size_t> sizes;
  for (const std::size_t border : {1024u, 2048u, 4096u, 8192u}) {
    for (std::size_t size = border - 8; size <= border + 4; ++size) sizes.push_back(size);
  }
  for (const std::size_t size : sizes) {
    const std::string x(size, 'x');
    EXPECT_EQ(Lines(x + "\r\ny\r\n"), (Texts{x, "y"})) << size;
    std::string utf16 = "\xFF\xFE";
    for (const char c : x + "\r\ny") utf16 += {c, '\0'};
    EXPECT_EQ(Lines(utf16), (Texts{x, "y"})) << size;
  }
}

TEST_F(LineReaderTest, TakesNoMoreThanTheLimit) {
  const std::string bytes = "abcd\nefgh\nijkl\n" + std::string(9000, 'x');
  EXPECT_EQ(Lines(bytes, 10), (Texts{"abcd", "efgh"}));
  EXPECT_EQ(reader_.GetPosition(), 10);
  EXPECT_EQ(Lines(bytes, 7), (Texts{"abcd", "ef"}));
  EXPECT_EQ(Lines(bytes, 5000).back().size(), 4985u);
  EXPECT_EQ(reader_.GetPosition(), 5000);
  EXPECT_EQ(Lines(bytes, -1).back().size(), 9000u);

  const std::string utf16 =
      "\xFF\xFE"
      "a\0\n\0b\0c\0"_b;
  EXPECT_EQ(Lines(utf16, 9), (Texts{"a", "b"})) << "the mark counts, half a unit is dropped";
  EXPECT_EQ(Lines(utf16, 3), (Texts{"\xFF\xFE"
                                    "a"}))
      << "no mark in three bytes";

  LineReader lines(Open(bytes), 12);
  EXPECT_EQ(lines.ReadBinary(3), 3u);
  EXPECT_EQ(lines.ReadBinary(100), 9u);
  EXPECT_FALSE(lines.ReadLine());
  EXPECT_EQ(reader_.GetPosition(), 12);
}

TEST_F(LineReaderTest, ReadsBytesInBetween) {
  const std::string data(10000, '\n');
  LineReader lines(Open("size 10000\r\n" + data + "next\nlast"));
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), "size 10000");
  EXPECT_EQ(lines.ReadBinary(10000), 10000u);
  EXPECT_EQ(std::string(lines.GetBuffer(), lines.GetSize()), data);
  EXPECT_EQ(lines.ReadBinary(0), 0u);
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), "next");
  EXPECT_EQ(lines.ReadBinary(0xFFFFFFFF), 4u);
  EXPECT_STREQ(lines.GetBuffer(), "last");
  EXPECT_EQ(lines.ReadBinary(1), 0u);
  EXPECT_FALSE(lines.ReadLine());
}

TEST_F(LineReaderTest, LooksForAMarkInTheFirstBytesOnly) {
  const std::string bytes =
      "\xFF\xFE"
      "a\0\n\0"_b;
  LineReader lines(Open(bytes));
  EXPECT_EQ(lines.ReadBinary(0), 0u);
  EXPECT_THAT(Rest(lines), ElementsAre("a"));
  LineReader afterBytes(Open("x" + bytes));
  EXPECT_EQ(afterBytes.ReadBinary(1), 1u);
  EXPECT_THAT(Rest(afterBytes), ElementsAre("\xFF\xFE"
                                            "a\0"_b,
                                            "\0"_b));
  // A chunk that ends in the middle of a unit: the rest of the unit is read all the same.
  std::string utf16 = "\xFF\xFE\n\0"_b;
  utf16.resize(4095, 'x');
  utf16 += "a\0b\0\n\0"_b;
  LineReader halves(Open(utf16));
  EXPECT_TRUE(halves.ReadLine());
  EXPECT_EQ(halves.ReadBinary(4091), 4091u);
  EXPECT_THAT(Rest(halves), ElementsAre("ab"));
}

TEST_F(LineReaderTest, GoesBackToTheStartOfTheLine) {
  for (const std::string& mark : {""_b, "\xEF\xBB\xBF"_b}) {
    for (const int limit : {0, 9010}) {
      const std::string longLine(9000, 'x');
      LineReader lines(Open(mark + "a\n" + longLine + "\nb\nc\n"), limit);
      EXPECT_FALSE(lines.SeekToBufferStart());
      for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(lines.ReadLine());
        EXPECT_FALSE(lines.SeekToBufferStart());
        EXPECT_STREQ(lines.GetBuffer(), "a") << "still there";
      }
      EXPECT_EQ(lines.ReadBinary(3), 3u) << "it goes back behind these too";
      lines.SeekToBufferStart();
      lines.ReadLine();
      for (int i = 0; i < 3; ++i) {
        if (i != 0) lines.SeekToBufferStart();
        EXPECT_TRUE(lines.ReadLine());
        EXPECT_EQ(lines.GetString(), longLine) << i;
      }
      EXPECT_THAT(Rest(lines), ElementsAre("b", "c")) << "what was read twice counts once";
      lines.SeekToBufferStart();
      EXPECT_FALSE(lines.ReadLine()) << "the end was the last thing read";
    }
  }
}

TEST_F(LineReaderTest, ReadsTheLastLineAgain) {
  LineReader lines(Open("\xFE\xFF\0a\0\n\0b\0"_b));
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), "b");
  lines.SeekToBufferStart();
  EXPECT_THAT(Rest(lines), ElementsAre("b"));
}

TEST_F(LineReaderTest, BeginsWhereTheReaderStands) {
  Open(
      "head\xFF\xFE"
      "a\0\n\0b\0"_b);
  EXPECT_TRUE(reader_.SetPosition(4));
  LineReader lines(&reader_);
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), "a");
  EXPECT_TRUE(lines.ReadLine());
  lines.SeekToBufferStart();
  EXPECT_THAT(Rest(lines), ElementsAre("b"));
}

TEST_F(LineReaderTest, WithoutAnOpenFileThereAreNoLines) {
  for (FileReader* const reader : {static_cast<FileReader*>(nullptr), &reader_}) {
    LineReader lines(reader);
    EXPECT_FALSE(lines.ReadLine());
    EXPECT_EQ(lines.ReadBinary(5), 0u);
    EXPECT_FALSE(lines.SeekToBufferStart());
    EXPECT_STREQ(lines.GetBuffer(), "");
    EXPECT_EQ(lines.GetString(), "");
  }
  EXPECT_FALSE(reader_.Open(directory_.Path(), 0, kSmallBuffer)) << "a folder";
  LineReader lines(&reader_);
  EXPECT_FALSE(lines.ReadLine());
}

// The end of a section is the end of its lines, and no error; the reader cannot go back in one.
TEST_F(LineReaderTest, ReadsCompressedSections) {
  const std::string longLine(9000, 'x');
  const SmartPtr<FileWriter> writer = FileWriter::Construct();
  ASSERT_TRUE(writer->Open(directory_.File("lines"), 0, kSmallBuffer, true));
  LineWriter out(writer);
  ASSERT_TRUE(writer->StartCompressedSection());
  for (const std::string& text : {std::string("a"), longLine, std::string("b")})
    EXPECT_TRUE(out.WriteLine(text));
  ASSERT_TRUE(writer->EndCompressedSection());
  EXPECT_TRUE(out.WriteLine("behind"));
  ASSERT_TRUE(writer->Close());

  ASSERT_TRUE(reader_.Open(directory_.File("lines"), 0, kSmallBuffer));
  ASSERT_TRUE(reader_.StartCompressedSection());
  LineReader lines(&reader_);
  EXPECT_TRUE(lines.ReadLine());
  lines.SeekToBufferStart();
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), "a") << "within the bytes that were taken together";
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), longLine);
  lines.SeekToBufferStart();
  EXPECT_THAT(Rest(lines), ElementsAre("b"));
  EXPECT_FALSE(reader_.IsError());
  EXPECT_TRUE(reader_.EndCompressedSection(true));
  LineReader behind(&reader_);
  EXPECT_THAT(Rest(behind), ElementsAre("behind"));
}

TEST_F(LineReaderTest, ReadsVeryLongLines) {
  const std::string longLine(10'000'000, 'x');
  LineReader lines(Open(longLine + "\r\n" + longLine + "y"));
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_TRUE(lines.GetString() == longLine);
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_TRUE(lines.GetString() == longLine + "y");
  EXPECT_FALSE(lines.ReadLine());
}

TEST_F(LineReaderTest, GoesOnAfterALineTooLongForTheMemory) {
  const std::string longLine(30'000, 'x');
  LineReader lines(Open("a\n" + longLine + "\nb\n"));
  EXPECT_TRUE(lines.ReadLine());
  for (const unsigned k : {1u, 2u, 3u}) {  // up to 8, 16 and 32 KiB
    {
      const Arming noMemory(Call::kHeapReallocate, {.first = k});
      EXPECT_THROW(lines.ReadLine(), std::bad_alloc) << k;
    }
    lines.SeekToBufferStart();
  }
  EXPECT_THAT(Rest(lines), ElementsAre(longLine, "b"));
  const Arming noMemory(Call::kHeapAllocate);
  EXPECT_THROW(LineReader another(&reader_), std::bad_alloc);
}

TEST_F(LineReaderTest, ShortReadsChangeNothing) {
  const Texts expected{std::string(3000, 'x'), "", std::string(2000, 'y')};
  for (const std::size_t cutTo : {1u, 2u, 3u, 1000u}) {
    Open("\xEF\xBB\xBF" + expected[0] + "\r\n\r\n" + expected[2]);
    const Arming shortReads(Call::kFileRead,
                            {.count = os::fault::kForEver, .error = os::kSuccess, .cutTo = cutTo});
    LineReader lines(&reader_);
    EXPECT_EQ(Rest(lines), expected) << cutTo;
    EXPECT_FALSE(reader_.IsError());
  }
}

TEST_F(LineReaderTest, AFailingReadEndsTheLine) {
  Open(std::string(3000, 'x'));
  const Arming failing(Call::kFileRead, {.first = 2, .count = os::fault::kForEver});
  LineReader lines(&reader_);
  EXPECT_TRUE(lines.ReadLine());
  EXPECT_EQ(lines.GetString(), std::string(kSmallBuffer, 'x'));
  EXPECT_FALSE(lines.ReadLine());
  EXPECT_TRUE(reader_.IsError());
}

// Not on Windows: Wine would start the program of the system around it, which does not know our paths.
bool RunIconv(const std::string& encoding, const std::string& from, const std::string& to) {
  if (os::GetCapabilities().absolutePathsHaveDrive) return false;
  try {
    return lmktest::RunChild({"/usr/bin/env", "iconv", "-f", "UTF-8", "-t", encoding, "-o", to, from})
               .exitCode == 0;
  } catch (const std::runtime_error&) {
    return false;
  }
}

TEST_F(LineReaderTest, ReadsWhatIconvWrites) {
  const Texts expected{"plain", "größer – 大きい 😀", "ਉ ਊ: bytes of a line feed", ""};
  std::string text;
  for (const std::string& line : expected) text += line + "\r\n";
  const std::string source = directory_.Write("utf8", text);
  const std::string target = directory_.File("converted");
  if (!RunIconv("UTF-16", source, target)) GTEST_SKIP() << "no iconv on this target";
  EXPECT_EQ(Lines(directory_.Read("converted")), expected) << "with its own mark";
  const std::pair<const char*, std::string> encodings[] = {
      {"UTF-16LE", "\xFF\xFE"}, {"UTF-16BE", "\xFE\xFF"}, {"UTF-8", "\xEF\xBB\xBF"}};
  for (const auto& [encoding, mark] : encodings) {
    ASSERT_TRUE(RunIconv(encoding, source, target)) << encoding;
    EXPECT_EQ(Lines(mark + directory_.Read("converted")), expected) << encoding;
  }
}

// -- Random operations beside the plain reader

std::string RandomText(std::mt19937& random) {
  static const std::string pieces[] = {"\r\n",   "\n",    "\r",   "x",       "\n\0"_b,
                                       "\0\n"_b, "a\0"_b, "\0"_b, "\x0A\x0A"};
  static const std::string marks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"};
  std::string text = marks[random() % 4];
  const std::size_t size = random() % 3 == 0 ? random() % 12 : random() % 20000;
  while (text.size() < size) {
    text += random() % 4 == 0 ? std::string(random() % 3000, 'y') : pieces[random() % 9];
  }
  return text;
}

TEST_F(LineReaderTest, DoesAsThePlainReader) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    const std::string bytes = RandomText(random);
    const int limit = random() % 2 == 0 ? 0 : static_cast<int>(random() % 12000);
    LineReader lines(Open(bytes), limit);
    lmktest::ReferenceLines reference(bytes, limit);
    const auto buffer = [&lines] { return std::string(lines.GetBuffer(), lines.GetSize()); };
    for (int step = 0; step < 40; ++step) {
      const unsigned choice = random() % 8;
      if (choice == 0) {
        lines.SeekToBufferStart();
        reference.SeekToBufferStart();
      } else if (choice == 1) {
        const std::size_t count = random() % 4 == 0 ? random() % 6000 : random() % 5;
        const std::string expected = reference.ReadBinary(count);
        ASSERT_EQ(lines.ReadBinary(static_cast<unsigned long>(count)), expected.size()) << "seed " << seed;
        ASSERT_EQ(buffer(), expected) << "seed " << seed;
      } else {
        const auto expected = reference.ReadLine();
        ASSERT_EQ(lines.ReadLine(), expected.has_value()) << "seed " << seed;
        ASSERT_EQ(buffer(), expected.value_or("")) << "seed " << seed;
        ASSERT_EQ(lines.GetString(), reference.String(buffer())) << "seed " << seed;
      }
    }
  }
}

}  // namespace
}  // namespace du
