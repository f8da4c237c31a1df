// The lines of the standard libraries and of a mapped file; by hand over blocks as the floor.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

#include "bench/lines/rows.h"
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench {
namespace {

struct StdGetline {
  static void Read(const std::string& path, Sum& sum) {
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) sum.Add(line);
  }
};

struct PosixGetline {
  static void Read(const std::string& path, Sum& sum) {
    std::FILE* const in = std::fopen(path.c_str(), "rb");
    char* line = nullptr;
    std::size_t capacity = 0;
    for (ssize_t size; (size = getline(&line, &capacity, in)) > 0;) {
      sum.Add({line, static_cast<std::size_t>(size - 1)});
    }
    std::free(line);
    std::fclose(in);
  }
};

// Hands out places in the mapping: no line is copied, and none ends with a zero byte.
template <int kPopulate>
struct MappedFile {
  static void Read(const std::string& path, Sum& sum) {
    const int in = open(path.c_str(), O_RDONLY);
    struct stat status;
    fstat(in, &status);
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | kPopulate, in, 0);
    const char* at = static_cast<const char*>(mapping);
    for (const char* const end = at + size; at != end;) {
      const auto* const stop =
          static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
      sum.Add({at, static_cast<std::size_t>(stop - at)});
      at = stop + 1;
    }
    munmap(mapping, size);
    close(in);
  }
};

// A file in blocks of 64 KiB, which begin with what the last one left over.
class Blocks {
 public:
  explicit Blocks(const std::string& path) : in_(open(path.c_str(), O_RDONLY)) {}
  ~Blocks() { close(in_); }
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;

  bool Next(std::size_t left) {
    std::memmove(block_.data(), block_.data() + size_ - left, left);
    const ssize_t count = read(in_, block_.data() + left, block_.size() - left);
    size_ = left + static_cast<std::size_t>(count > 0 ? count : 0);
    return count > 0;
  }
  const char* begin() const { return block_.data(); }
  const char* end() const { return block_.data() + size_; }

 private:
  const int in_;
  std::size_t size_ = 0;
  std::vector<char> block_ = std::vector<char>(65536);
};

struct BytesByHand {
  static void Read(const std::string& path, Sum& sum) {
    Blocks blocks(path);
    for (std::size_t left = 0; blocks.Next(left);) {
      const char* at = blocks.begin();
      while (const void* const stop = std::memchr(at, '\n', static_cast<std::size_t>(blocks.end() - at))) {
        sum.Add({at, static_cast<std::size_t>(static_cast<const char*>(stop) - at)});
        at = static_cast<const char*>(stop) + 1;
      }
      left = static_cast<std::size_t>(blocks.end() - at);
    }
  }
};

// No surrogates, no errors.
struct UnitsByHand {
  static void Read(const std::string& path, Sum& sum) {
    Blocks blocks(path);
    std::string line;
    bool marked = true;
    for (std::size_t left = 0; blocks.Next(left);) {
      const char* at = blocks.begin() + (marked ? 2 : 0);
      marked = false;
      for (; blocks.end() - at >= 2; at += 2) {
        char16_t unit;
        std::memcpy(&unit, at, 2);
        if (unit == u'\n') {
          sum.Add(line);
          line.clear();
        } else if (unit < 0x80) {
          line += static_cast<char>(unit);
        } else if (unit < 0x800) {
          line += {static_cast<char>(0xC0 | unit >> 6), static_cast<char>(0x80 | (unit & 0x3F))};
        } else {
          line += {static_cast<char>(0xE0 | unit >> 12), static_cast<char>(0x80 | (unit >> 6 & 0x3F)),
                   static_cast<char>(0x80 | (unit & 0x3F))};
        }
      }
      left = static_cast<std::size_t>(blocks.end() - at);
    }
  }
};

const bool registered =
    (AddText<StdGetline>("std::getline"), AddText<PosixGetline>("getline(3)"),
     AddText<MappedFile<0>>(std::string(kOtherWork) + "mapped file"),
     AddText<MappedFile<MAP_POPULATE>>(std::string(kOtherWork) + "mapped file, populated"),
     AddText<BytesByHand>(std::string(kFloor) + "read and memchr"),
     AddUtf16<UnitsByHand>(std::string(kFloor) + "unit by unit, by hand"), true);

}  // namespace
}  // namespace bench
