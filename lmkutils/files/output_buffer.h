#ifndef LMKUTILS_FILES_OUTPUT_BUFFER_H
#define LMKUTILS_FILES_OUTPUT_BUFFER_H

#include <cstdint>
#include <cstring>

#include "lmkutils/export.h"
#include "lmkutils/files/byte_order.h"
#include "lmkutils/text/symbol.h"

namespace du {

// Writes numbers, truth values and symbols one after the other into a block of bytes that grows: the
// counterpart of InputBuffer. docs/buffers.md has the bytes.
//
// The caller owns it. Different threads may use different buffers, one thread at a time each one.
//
// A Put writes all of its value or nothing: it returns false when there is no memory to grow, or when the
// block would get larger than an unsigned can count. What it is given may lie in the block itself (an array
// only where it does not overlap the place that it is written to).
class LMK_API OutputBuffer {
 public:
  // `endian` is 1 for big-endian numbers, 0 for little-endian ones; any other code counts as 0. The block
  // has at least 1024 bytes from the beginning.
  OutputBuffer(int endian, unsigned initialSize) noexcept;
  OutputBuffer(const OutputBuffer&) = delete;
  OutputBuffer& operator=(const OutputBuffer&) = delete;
  ~OutputBuffer();

  // One value.
  bool Put(const char& value) noexcept { return Put1Byte(&value); }
  bool Put(const unsigned char& value) noexcept { return Put1Byte(&value); }
  bool Put(const short& value) noexcept { return Put2Byte(&value); }
  bool Put(const unsigned short& value) noexcept { return Put2Byte(&value); }
  bool Put(const int& value) noexcept { return Put4Byte(&value); }
  bool Put(const unsigned int& value) noexcept { return Put4Byte(&value); }
  bool Put(const float& value) noexcept { return Put4Byte(&value); }
  bool Put(const double& value) noexcept { return Put8Byte(&value); }
  bool Put(const std::int64_t& value) noexcept { return Put8Byte(&value); }
  bool Put(const std::uint64_t& value) noexcept { return Put8Byte(&value); }
  // One byte, 1 or 0.
  bool Put(const bool& value) noexcept;
  // The length in four bytes, then the text without a NUL.
  bool Put(const Symbol& value) noexcept;
  // A pointer without a count would be taken for a truth value.
  bool Put(const void*) = delete;

  // `count` values. A count of 0 succeeds, otherwise null gives false.
  bool Put(const char* values, unsigned count) noexcept { return Put1ByteArray(values, count); }
  bool Put(const unsigned char* values, unsigned count) noexcept { return Put1ByteArray(values, count); }
  bool Put(const short* values, unsigned count) noexcept { return Put2ByteArray(values, count); }
  bool Put(const unsigned short* values, unsigned count) noexcept { return Put2ByteArray(values, count); }
  bool Put(const int* values, unsigned count) noexcept { return Put4ByteArray(values, count); }
  bool Put(const unsigned int* values, unsigned count) noexcept { return Put4ByteArray(values, count); }
  bool Put(const float* values, unsigned count) noexcept { return Put4ByteArray(values, count); }
  bool Put(const double* values, unsigned count) noexcept { return Put8ByteArray(values, count); }

  // The block, valid until a Put or the destruction; its first GetSize() bytes have been written. Null when
  // there has been no memory for any block.
  [[nodiscard]] const unsigned char* Get() const noexcept { return block_; }
  // Up to the end of what has been written, wherever the position is now.
  [[nodiscard]] unsigned GetSize() const noexcept { return size_; }

  // Where the next Put writes, in bytes from the beginning. Any position up to the size can be set, to write
  // over what is there; others give false.
  [[nodiscard]] unsigned GetPosition() const noexcept { return position_; }
  bool SetPosition(unsigned position) noexcept;
  // Nothing written; the block is kept.
  void Reset() noexcept;

  [[nodiscard]] bool IsBigEndian() const noexcept { return bigEndian_; }
  [[nodiscard]] bool IsLittleEndian() const noexcept { return !bigEndian_; }

 private:
  bool Put1Byte(const void* value) noexcept { return PutNumber<std::uint8_t>(value); }
  bool Put2Byte(const void* value) noexcept { return PutNumber<std::uint16_t>(value); }
  bool Put4Byte(const void* value) noexcept { return PutNumber<std::uint32_t>(value); }
  bool Put8Byte(const void* value) noexcept { return PutNumber<std::uint64_t>(value); }
  bool Put1ByteArray(const void* values, unsigned count) noexcept;
  bool Put2ByteArray(const void* values, unsigned count) noexcept;
  bool Put4ByteArray(const void* values, unsigned count) noexcept;
  bool Put8ByteArray(const void* values, unsigned count) noexcept;

  // Makes room for so many bytes behind the position.
  bool Check(std::uint64_t size) noexcept { return size <= capacity_ - position_ || Extend(size); }
  // Replaces the block by a larger one. The old one is freed, or handed out when the caller still needs what
  // lies in it.
  bool Extend(std::uint64_t needed, unsigned char** old = nullptr) noexcept;

  void MoveBufferPos(unsigned size) noexcept {
    position_ += size;
    if (position_ > size_) size_ = position_;
  }

  template <class Word>
  bool PutNumber(const void* value) noexcept {
    Word word;  // taken before a new block can replace the one where it may lie
    std::memcpy(&word, value, sizeof(word));
    if (!Check(sizeof(word))) return false;
    if (mustSwap_) word = internal::ByteSwapped(word);
    std::memcpy(block_ + position_, &word, sizeof(word));
    MoveBufferPos(sizeof(word));
    return true;
  }
  template <class Word>
  bool PutArray(const void* values, unsigned count) noexcept;

  unsigned char* block_ = nullptr;
  unsigned capacity_ = 0;
  unsigned position_ = 0;
  unsigned size_ = 0;
  const bool bigEndian_;
  const bool mustSwap_;
};

}  // namespace du

#endif
