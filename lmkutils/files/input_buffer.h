#ifndef LMKUTILS_FILES_INPUT_BUFFER_H
#define LMKUTILS_FILES_INPUT_BUFFER_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/files/byte_order.h"
#include "lmkutils/text/symbol.h"

namespace du {

// Reads numbers, truth values and symbols one after the other from a block of bytes, of which it keeps a copy
// of its own. What OutputBuffer wrote is read back by an InputBuffer of the same byte order; docs/buffers.md
// has the bytes.
//
// The caller owns it. Different threads may use different buffers, one thread at a time each one.
//
// Every Get tests first that all it reads lies within the block: otherwise it returns false, and neither its
// target nor the position has changed. A block of any bytes can be given; only lengths of symbols are
// interpreted.
class LMK_API InputBuffer {
 public:
  // Copies the block. `endian` is 1 when it holds big-endian numbers, 0 when little-endian; any other code
  // counts as 0. The buffer is empty when there is no memory for the copy, for null, and for a vector of
  // more bytes than an unsigned can count.
  InputBuffer(const unsigned char* data, unsigned size, int endian) noexcept;
  InputBuffer(const std::vector<unsigned char>& data, int endian) noexcept;
  InputBuffer(const InputBuffer&) = delete;
  InputBuffer& operator=(const InputBuffer&) = delete;
  ~InputBuffer();

  // One value.
  bool Get(char& value) noexcept { return Get1Byte(&value); }
  bool Get(unsigned char& value) noexcept { return Get1Byte(&value); }
  bool Get(short& value) noexcept { return Get2Byte(&value); }
  bool Get(unsigned short& value) noexcept { return Get2Byte(&value); }
  bool Get(int& value) noexcept { return Get4Byte(&value); }
  bool Get(unsigned int& value) noexcept { return Get4Byte(&value); }
  bool Get(float& value) noexcept { return Get4Byte(&value); }
  bool Get(double& value) noexcept { return Get8Byte(&value); }
  bool Get(std::int64_t& value) noexcept { return Get8Byte(&value); }
  bool Get(std::uint64_t& value) noexcept { return Get8Byte(&value); }
  // One byte, true unless it is 0.
  bool Get(bool& value) noexcept;
  // A length of four bytes, then as many bytes of text; a NUL among them ends the symbol, not what is taken
  // from the buffer. Throws as making a symbol does, and has read nothing then.
  bool Get(Symbol& value);

  // `count` values, or none of them. A count of 0 succeeds; any other with null gives false.
  bool Get(char* values, unsigned count) noexcept { return Get1ByteArray(values, count); }
  bool Get(unsigned char* values, unsigned count) noexcept { return Get1ByteArray(values, count); }
  bool Get(short* values, unsigned count) noexcept { return Get2ByteArray(values, count); }
  bool Get(unsigned short* values, unsigned count) noexcept { return Get2ByteArray(values, count); }
  bool Get(int* values, unsigned count) noexcept { return Get4ByteArray(values, count); }
  bool Get(unsigned int* values, unsigned count) noexcept { return Get4ByteArray(values, count); }
  bool Get(float* values, unsigned count) noexcept { return Get4ByteArray(values, count); }
  bool Get(double* values, unsigned count) noexcept { return Get8ByteArray(values, count); }

  // Bytes from the beginning of the block. Any position up to the size can be set; others give false.
  [[nodiscard]] unsigned GetPosition() const noexcept { return position_; }
  bool SetPosition(unsigned position) noexcept;
  [[nodiscard]] unsigned GetSize() const noexcept { return size_; }

  [[nodiscard]] bool IsBigEndian() const noexcept { return bigEndian_; }
  [[nodiscard]] bool IsLittleEndian() const noexcept { return !bigEndian_; }

 private:
  // Whether so many bytes lie before the end.
  bool Check(unsigned size) const noexcept { return size <= size_ - position_; }

  bool Get1Byte(void* value) noexcept { return Check(1) && Copy1Byte(value); }
  bool Get2Byte(void* value) noexcept {
    return Check(2) && (mustSwap_ ? Swap2Byte(value) : Copy2Byte(value));
  }
  bool Get4Byte(void* value) noexcept {
    return Check(4) && (mustSwap_ ? Swap4Byte(value) : Copy4Byte(value));
  }
  bool Get8Byte(void* value) noexcept {
    return Check(8) && (mustSwap_ ? Swap8Byte(value) : Copy8Byte(value));
  }
  bool Get1ByteArray(void* values, unsigned count) noexcept;
  bool Get2ByteArray(void* values, unsigned count) noexcept;
  bool Get4ByteArray(void* values, unsigned count) noexcept;
  bool Get8ByteArray(void* values, unsigned count) noexcept;

  // Take one element, as it is or with its bytes reversed, and step behind it; true.
  bool Copy1Byte(void* value) noexcept { return Copy<std::uint8_t>(value); }
  bool Copy2Byte(void* value) noexcept { return Copy<std::uint16_t>(value); }
  bool Copy4Byte(void* value) noexcept { return Copy<std::uint32_t>(value); }
  bool Copy8Byte(void* value) noexcept { return Copy<std::uint64_t>(value); }
  bool Swap2Byte(void* value) noexcept { return Swap<std::uint16_t>(value); }
  bool Swap4Byte(void* value) noexcept { return Swap<std::uint32_t>(value); }
  bool Swap8Byte(void* value) noexcept { return Swap<std::uint64_t>(value); }

  template <class Word>
  bool Copy(void* value) noexcept {
    std::memcpy(value, data_ + position_, sizeof(Word));
    position_ += static_cast<unsigned>(sizeof(Word));
    return true;
  }
  template <class Word>
  bool Swap(void* value) noexcept {
    Word word;
    std::memcpy(&word, data_ + position_, sizeof(word));
    word = internal::ByteSwapped(word);
    std::memcpy(value, &word, sizeof(word));
    position_ += static_cast<unsigned>(sizeof(Word));
    return true;
  }
  template <class Word>
  bool GetArray(void* values, unsigned count) noexcept;

  unsigned char* data_ = nullptr;
  unsigned size_ = 0;
  unsigned position_ = 0;
  const bool bigEndian_;
  const bool mustSwap_;
};

}  // namespace du

#endif
