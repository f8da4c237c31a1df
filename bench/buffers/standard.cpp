// A stream over a string, and copying into a vector by hand as the floor.
#include <cstdint>
#include <cstring>
#include <sstream>

#include "bench/buffers/rows.h"

namespace bench {
namespace {

template <class Word>
void CopyReversed(void* target, const void* source) {
  Word word;
  std::memcpy(&word, source, sizeof(word));
  if constexpr (sizeof(Word) == 4) {
    word = __builtin_bswap32(word);
  } else {
    word = __builtin_bswap64(word);
  }
  std::memcpy(target, &word, sizeof(word));
}

void ReverseAll(double* values, unsigned count) {
  for (unsigned i = 0; i < count; ++i) CopyReversed<std::uint64_t>(values + i, values + i);
}

// Knows no byte order: numbers are reversed on the way.
struct Stream {
  class Writer {
   public:
    explicit Writer(bool bigEndian) : reversed_(bigEndian) {}
    void Rewind() { stream_.seekp(0); }
    void Put(int value) {
      if (reversed_) CopyReversed<std::uint32_t>(&value, &value);
      stream_.write(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    void Put(const double* values, unsigned count) {
      if (reversed_) {
        copy_.assign(values, values + count);
        ReverseAll(copy_.data(), count);
        values = copy_.data();
      }
      stream_.write(reinterpret_cast<const char*>(values), std::streamsize{count} * 8);
    }

   private:
    const bool reversed_;
    std::ostringstream stream_;
    std::vector<double> copy_;
  };
  class Reader {
   public:
    Reader(bool bigEndian, const std::string& block) : reversed_(bigEndian), stream_(block) {}
    void Rewind() { stream_.seekg(0); }
    void Get(int& value) {
      stream_.read(reinterpret_cast<char*>(&value), sizeof(value));
      if (reversed_) CopyReversed<std::uint32_t>(&value, &value);
    }
    void Get(double* values, unsigned count) {
      stream_.read(reinterpret_cast<char*>(values), std::streamsize{count} * 8);
      if (reversed_) ReverseAll(values, count);
    }

   private:
    const bool reversed_;
    std::istringstream stream_;
  };
};

// With a test for room before each value.
struct ByHand {
  class Writer {
   public:
    explicit Writer(bool bigEndian) : reversed_(bigEndian) {}
    void Rewind() { at_ = 0; }
    void Put(int value) {
      if (bytes_.size() - at_ < sizeof(value)) bytes_.resize(2 * bytes_.size());
      if (reversed_) {
        CopyReversed<std::uint32_t>(&bytes_[at_], &value);
      } else {
        std::memcpy(&bytes_[at_], &value, sizeof(value));
      }
      at_ += sizeof(value);
    }
    void Put(const double* values, unsigned count) {
      if (bytes_.size() - at_ < count * sizeof(double)) bytes_.resize(count * sizeof(double));
      if (reversed_) {
        for (unsigned i = 0; i < count; ++i)
          CopyReversed<std::uint64_t>(&bytes_[8 * std::size_t{i}], values + i);
      } else {
        std::memcpy(bytes_.data(), values, count * sizeof(double));
      }
    }

   private:
    const bool reversed_;
    std::vector<char> bytes_ = std::vector<char>(1024);
    std::size_t at_ = 0;
  };
  class Reader {
   public:
    Reader(bool bigEndian, const std::string& block) : reversed_(bigEndian), bytes_(block) {}
    void Rewind() { at_ = 0; }
    void Get(int& value) {
      if (bytes_.size() - at_ < sizeof(value)) return;
      if (reversed_) {
        CopyReversed<std::uint32_t>(&value, &bytes_[at_]);
      } else {
        std::memcpy(&value, &bytes_[at_], sizeof(value));
      }
      at_ += sizeof(value);
    }
    void Get(double* values, unsigned count) {
      std::memcpy(values, bytes_.data(), count * sizeof(double));
      if (reversed_) ReverseAll(values, count);
    }

   private:
    const bool reversed_;
    const std::string bytes_;
    std::size_t at_ = 0;
  };
};

const bool registered = (AddBufferRows<Stream>("std::stringstream"),
                         AddBufferRows<ByHand>(std::string(kFloor) + "memcpy by hand"), true);

}  // namespace
}  // namespace bench
