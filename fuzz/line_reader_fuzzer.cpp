// Any bytes as a file of lines, read by any sequence of operations beside the plain reader. The first byte is
// the limit on the bytes that are taken, then come sixteen operations, then the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/line_reader.h"
#include "lmkutils/files/testing/reference_lines.h"

namespace {

constexpr std::size_t kOperations = 16;

void Require(bool condition) {
  if (!condition) std::abort();
}

// One file for the whole process, written anew for each input.
class Scratch {
 public:
  Scratch()
      : path_(std::filesystem::temp_directory_path() /
              ("lmk-lines-" + std::to_string(std::random_device()()) + ".txt")) {}
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }

  std::string Write(const std::string& bytes) const {
    std::ofstream(path_, std::ios::binary) << bytes;
    return path_.string();
  }

 private:
  const std::filesystem::path path_;
};

void ReadLine(du::LineReader& lines, lmktest::ReferenceLines& reference) {
  const auto expected = reference.ReadLine();
  Require(lines.ReadLine() == expected.has_value());
  const std::string stored(lines.GetBuffer(), lines.GetSize());
  Require(stored == expected.value_or(""));
  Require(lines.GetString() == reference.String(stored));
}

void ReadBytes(du::LineReader& lines, lmktest::ReferenceLines& reference, std::size_t count) {
  const std::string expected = reference.ReadBinary(count);
  Require(lines.ReadBinary(static_cast<unsigned long>(count)) == expected.size());
  Require(std::string(lines.GetBuffer(), lines.GetSize()) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Scratch scratch;
  if (size < 1 + kOperations) return 0;
  const int limit = data[0] * 64;
  // Each byte many times over, so that small inputs reach the borders of chunks.
  std::string bytes(reinterpret_cast<const char*>(data) + 1 + kOperations, size - 1 - kOperations);
  if (data[0] % 2 != 0 && !bytes.empty()) {
    const std::string once = bytes;
    while (bytes.size() < 9000) bytes += once;
  }
  du::FileReader reader;
  Require(reader.Open(scratch.Write(bytes), 0, 1024));
  du::LineReader lines(&reader, limit);
  lmktest::ReferenceLines reference(bytes, limit);
  for (std::size_t i = 1; i <= kOperations; ++i) {
    if (data[i] < 128) {
      ReadLine(lines, reference);
    } else if (data[i] < 160) {
      lines.SeekToBufferStart();
      reference.SeekToBufferStart();
    } else {
      ReadBytes(lines, reference, (data[i] - 160) * (data[i] % 2 == 0 ? 1u : 64u));
    }
  }
  return 0;
}
