#include "lmkutils/files/line_writer.h"

#include <string>

#include <gmock/gmock.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/file_writer.h"
#include "lmkutils/files/line_reader.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"

namespace du {
namespace {

class LineWriterTest : public testing::Test {
 protected:
  LineWriterTest() { EXPECT_TRUE(writer_->Open(directory_.File("lines"), 0, 1024, true)); }

  const lmktest::TempDir directory_;
  const SmartPtr<FileWriter> writer_ = FileWriter::Construct();
};

TEST_F(LineWriterTest, WritesAndCounts) {
  const unsigned char bytes[] = {1, '\r', '\n'};
  LineWriter lines(writer_);
  EXPECT_TRUE(lines.WriteLine("größer"));
  EXPECT_TRUE(lines.WriteLine(std::string("a\0b\nc", 5)));
  EXPECT_TRUE(lines.WriteLine(""));
  EXPECT_TRUE(lines.WriteBinary(bytes, 3));
  EXPECT_TRUE(lines.WriteBinary(bytes, 0));
  EXPECT_TRUE(lines.WriteBinary(nullptr, 3));
  EXPECT_FALSE(lines.WriteLine(nullptr));
  EXPECT_EQ(lines.GetBytesWritten(), 9u + 6 + 1 + 3);
  EXPECT_EQ(lines.GetLinesWritten(), 3u);
  EXPECT_TRUE(writer_->Close());
  EXPECT_EQ(directory_.Read("lines"), std::string("größer\na\0b\nc\n\n\1\r\n", 19));
}

TEST_F(LineWriterTest, SharesTheWriter) {
  {
    LineWriter first(writer_), second(writer_);
    EXPECT_TRUE(first.WriteLine("one"));
    EXPECT_TRUE(second.WriteLine("two"));
    EXPECT_EQ(second.GetBytesWritten(), 4u);
  }
  EXPECT_TRUE(writer_->IsOpen());
  EXPECT_TRUE(writer_->Close());
  EXPECT_EQ(directory_.Read("lines"), "one\ntwo\n");
}

TEST_F(LineWriterTest, IsReadBackByTheLineReader) {
  std::vector<std::string> texts;
  LineWriter lines(writer_);
  for (std::size_t size = 0; size < 5000; size += 37) {
    texts.emplace_back(size, static_cast<char>('a' + size % 26));
    EXPECT_TRUE(lines.WriteLine(texts.back()));
  }
  EXPECT_TRUE(writer_->Close());
  FileReader reader;
  ASSERT_TRUE(reader.Open(directory_.File("lines"), 0, 1024));
  LineReader back(&reader);
  for (const std::string& text : texts) {
    EXPECT_TRUE(back.ReadLine());
    EXPECT_EQ(back.GetString(), text);
  }
  EXPECT_FALSE(back.ReadLine());
}

TEST_F(LineWriterTest, FailsWithTheWriter) {
  LineWriter lines(writer_);
  {
    const os::fault::Arming diskFull(os::fault::Call::kFileWrite,
                                     {.count = os::fault::kForEver, .cutTo = 100});
    EXPECT_FALSE(lines.WriteLine(std::string(5000, 'x')));
  }
  EXPECT_EQ(lines.GetLinesWritten(), 0u);
  EXPECT_LT(lines.GetBytesWritten(), 5000u);
  EXPECT_FALSE(lines.WriteLine("no more after a failure"));

  LineWriter closed(FileWriter::Construct());
  EXPECT_FALSE(closed.WriteLine("a"));
  LineWriter without(nullptr);
  EXPECT_FALSE(without.WriteLine(std::string("a")));
  EXPECT_TRUE(without.WriteBinary(nullptr, 0));
  EXPECT_EQ(without.GetBytesWritten(), 0u);
}

}  // namespace
}  // namespace du
