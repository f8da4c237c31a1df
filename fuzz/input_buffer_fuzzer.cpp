// Any bytes as a block that is read by any sequence of operations, which a second reading by hand checks.
// The first byte is the block's byte order, the last quarter of the input the operations.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lmkutils/files/input_buffer.h"

namespace {

using Bytes = std::vector<unsigned char>;

void Require(bool condition) {
  if (!condition) std::abort();
}

class Check {
 public:
  Check(const Bytes& block, int endian) : block_(block), big_(endian == 1), buffer_(block, endian) {}

  void Do(unsigned operation, unsigned count) {
    switch (operation % 16) {
      case 0:
        return One<char>();
      case 1:
        return One<unsigned char>();
      case 2:
        return One<short>();
      case 3:
        return One<unsigned short>();
      case 4:
        return One<int>();
      case 5:
        return One<unsigned int>();
      case 6:
        return One<std::int64_t>();
      case 7:
        return One<std::uint64_t>();
      case 8:
        return Truth();
      case 9:
        return Text();
      case 10:
        return Many<char>(count);
      case 11:
        return Many<short>(count);
      case 12:
        return Many<int>(count);
      case 13:
        return Many<double>(count);
      case 14:
        return HugeCount(count);
      default:
        return Move(count);
    }
  }

 private:
  std::size_t Left() const { return block_.size() - at_; }

  // The bytes of a number at the position, in the machine's order.
  template <class T>
  T Expected(std::size_t at) const {
    unsigned char bytes[sizeof(T)];
    for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = block_[at + (big_ ? sizeof(T) - 1 - i : i)];
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }
  void Arrived(bool done, bool expected, std::size_t size) {
    Require(done == expected);
    if (done) at_ += size;
    Require(buffer_.GetPosition() == at_);
  }

  template <class T>
  void One() {
    const T before = 99;
    T value = before;
    const bool fits = sizeof(T) <= Left();
    const T expected = fits ? Expected<T>(at_) : before;
    Arrived(buffer_.Get(value), fits, sizeof(T));
    Require(value == expected);
  }
  template <class T>
  void Many(unsigned count) {
    std::vector<T> values(count, T{99});
    const bool fits = count * sizeof(T) <= Left();
    std::vector<T> expected(count, T{99});
    for (std::size_t i = 0; fits && i < count; ++i) expected[i] = Expected<T>(at_ + i * sizeof(T));
    Arrived(buffer_.Get(values.data(), count), fits, count * sizeof(T));
    Require(count == 0 || std::memcmp(values.data(), expected.data(), count * sizeof(T)) == 0);
  }
  // More elements than any block of ours has; the sizes of some wrap.
  void HugeCount(unsigned count) {
    double value = 1;
    Arrived(buffer_.Get(&value, 0x1FFFFFFFu + count), false, 0);
    Require(value == 1);
  }
  void Truth() {
    bool value = true;
    const bool expected = Left() == 0 || block_[at_] != 0;
    Arrived(buffer_.Get(value), Left() != 0, 1);
    Require(value == expected);
  }
  void Text() {
    du::Symbol value("before");
    const std::size_t length = Left() < 4 ? 0 : Expected<std::uint32_t>(at_);
    const bool fits = Left() >= 4 && length <= Left() - 4;
    std::string expected = "before";
    if (fits) expected.assign(reinterpret_cast<const char*>(block_.data() + at_) + 4, length);
    Arrived(buffer_.Get(value), fits, 4 + length);
    Require(value == expected.c_str());
  }
  void Move(unsigned position) {
    const bool done = buffer_.SetPosition(position);
    Require(done == (position <= block_.size()));
    if (done) at_ = position;
    Require(buffer_.GetPosition() == at_);
  }

  const Bytes& block_;
  const bool big_;
  du::InputBuffer buffer_;
  std::size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint8_t* const operations = data + size - size / 4;
  const Bytes block(data + 1, operations > data ? operations : data + 1);
  Check check(block, data[0] % 2);
  for (const std::uint8_t* at = operations; at != data + size; ++at) check.Do(*at % 16, *at / 4u);
  return 0;
}
