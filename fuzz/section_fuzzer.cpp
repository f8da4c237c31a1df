// Any bytes as a file with a compressed section, behind two bytes that choose the buffer and the limit: the
// reader must give what zlib gives, in reads of any size, come to an end, and be of use afterwards.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include <zlib.h>

#include "lmkutils/files/file_reader.h"

namespace {

constexpr std::size_t kMostPlain = 1 << 22;

void Require(bool condition, const char* what) {
  if (condition) return;
  std::cerr << what << '\n';
  std::abort();
}

// One file for all inputs of the process.
const std::string& Path() {
  static const std::string path = [] {
    const auto name = "lmk-section-fuzzer-" + std::to_string(std::random_device()());
    const std::u8string text = (std::filesystem::temp_directory_path() / name).u8string();
    return std::string(text.begin(), text.end());
  }();
  return path;
}

void WriteFile(const char* bytes, std::size_t size) {
  std::ofstream file(std::filesystem::path(std::u8string(Path().begin(), Path().end())), std::ios::binary);
  file.write(bytes, static_cast<std::streamsize>(size));
  Require(file.good(), "cannot write");
}

struct Unpacked {
  std::string plain;
  bool complete = false;
};

// The plain bytes of a section, as far as they go, by zlib alone; whether its end was reached.
Unpacked ByZlib(const std::string& section) {
  z_stream stream{};
  const bool isGzip = section.starts_with("\x1F\x8B");
  Require(inflateInit2(&stream, isGzip ? 31 : 15) == Z_OK, "no memory");
  std::string input = section;
  Unpacked result;
  result.plain.resize(kMostPlain);
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.plain.data());
  stream.avail_out = static_cast<uInt>(result.plain.size());
  result.complete = inflate(&stream, Z_FINISH) == Z_STREAM_END;
  result.plain.resize(stream.total_out);
  inflateEnd(&stream);
  return result;
}

// All of the section that can be had, in reads of changing sizes.
std::string ReadAll(du::FileReader& reader, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<char> part(5000);
  std::string all;
  while (all.size() < kMostPlain) {
    const auto size = static_cast<unsigned>(1 + random() % (random() % 4 == 0 ? 5000 : 20));
    const unsigned count = reader.Read(part.data(), size);
    all.append(part.data(), count);
    if (count < size) break;
  }
  return all;
}

void CheckSection(du::FileReader& reader, const std::string& file, unsigned seed) {
  const bool started = reader.StartCompressedSection();
  const Unpacked expected = ByZlib(file);
  if (!started) {
    Require(reader.IsError() && reader.GetPosition() == 0 && !expected.complete, "refused a good section");
    return;
  }
  const std::string plain = ReadAll(reader, seed);
  const bool isTooLong = plain.size() >= kMostPlain;
  // zlib checks the header's and the trailer's checksums of a member, the reader does not.
  const std::size_t common = std::min(plain.size(), expected.plain.size());
  Require(plain.compare(0, common, expected.plain, 0, common) == 0, "other plain bytes");
  Require(!expected.complete || isTooLong || plain.size() == expected.plain.size(), "another size");
  const bool ended = reader.EndCompressedSection(!isTooLong);
  Require(ended || !expected.complete, "no end of a good section");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string file(reinterpret_cast<const char*>(data) + 2, size - 2);
  WriteFile(file.data(), file.size());
  du::FileReader reader;
  Require(reader.Open(Path(), 0, 1024u << (data[0] % 8)), "cannot open");
  CheckSection(reader, file, data[0]);
  Require(!reader.IsCompressed() && reader.SetPosition(0), "still inside");
  Require(reader.ReadRemainingContents() == file, "the file is not what it was");
  Require(reader.SetPosition(0), "cannot go back");
  if (reader.StartCompressedSection(data[1])) {
    ReadAll(reader, data[1]);
    reader.EndCompressedSection(true);
  }
  Require(reader.GetPosition() >= 0 && reader.GetPosition() <= static_cast<std::int64_t>(file.size()) + 8,
          "a position out of the file");
  reader.Close();
  std::filesystem::remove(std::filesystem::path(std::u8string(Path().begin(), Path().end())));
  return 0;
}
