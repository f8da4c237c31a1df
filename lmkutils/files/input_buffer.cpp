#include "lmkutils/files/input_buffer.h"

#include <limits>
#include <string>

#include "lmkutils/os/memory.h"

namespace du {
namespace {

constexpr int kBigEndian = 1;

// A size that an unsigned cannot hold counts as one for which there is no memory.
unsigned SizeOf(const std::vector<unsigned char>& data) noexcept {
  return data.size() <= std::numeric_limits<unsigned>::max() ? static_cast<unsigned>(data.size()) : 0;
}

}  // namespace

InputBuffer::InputBuffer(const unsigned char* data, unsigned size, int endian) noexcept
    : bigEndian_(endian == kBigEndian), mustSwap_(bigEndian_) {
  if (data == nullptr || size == 0) return;
  data_ = static_cast<unsigned char*>(os::HeapAllocate(size));
  if (data_ == nullptr) return;
  std::memcpy(data_, data, size);
  size_ = size;
}

InputBuffer::InputBuffer(const std::vector<unsigned char>& data, int endian) noexcept
    : InputBuffer(data.data(), SizeOf(data), endian) {}

InputBuffer::~InputBuffer() {
  os::HeapFree(data_);
}

bool InputBuffer::SetPosition(unsigned position) noexcept {
  if (position > size_) return false;
  position_ = position;
  return true;
}

bool InputBuffer::Get(bool& value) noexcept {
  unsigned char byte = 0;
  if (!Get1Byte(&byte)) return false;
  value = byte != 0;
  return true;
}

bool InputBuffer::Get(Symbol& value) {
  const unsigned start = position_;
  unsigned length = 0;
  if (!Get(length)) return false;
  const unsigned text = position_;
  position_ = start;
  // Compared before any storage is asked for: the length is whatever the block says.
  if (length > size_ - text) return false;
  value = std::string(reinterpret_cast<const char*>(data_ + text), length);
  position_ = text + length;
  return true;
}

template <class Word>
bool InputBuffer::GetArray(void* values, unsigned count) noexcept {
  // Divided, since the product may not fit.
  if ((size_ - position_) / sizeof(Word) < count) return false;
  if (count == 0 || values == nullptr) return count == 0;
  const auto size = static_cast<unsigned>(count * sizeof(Word));
  if (sizeof(Word) == 1 || !mustSwap_) {
    std::memcpy(values, data_ + position_, size);
  } else if constexpr (sizeof(Word) > 1) {
    internal::CopyByteSwapped<Word>(values, data_ + position_, count);
  }
  position_ += size;
  return true;
}

bool InputBuffer::Get1ByteArray(void* values, unsigned count) noexcept {
  return GetArray<std::uint8_t>(values, count);
}
bool InputBuffer::Get2ByteArray(void* values, unsigned count) noexcept {
  return GetArray<std::uint16_t>(values, count);
}
bool InputBuffer::Get4ByteArray(void* values, unsigned count) noexcept {
  return GetArray<std::uint32_t>(values, count);
}
bool InputBuffer::Get8ByteArray(void* values, unsigned count) noexcept {
  return GetArray<std::uint64_t>(values, count);
}

}  // namespace du
