#include "lmkutils/files/output_buffer.h"

#include <algorithm>
#include <limits>

#include "lmkutils/os/memory.h"

namespace du {
namespace {

constexpr int kBigEndian = 1;
constexpr unsigned kStep = 1024;  // the least capacity, and what all growth is a multiple of

}  // namespace

OutputBuffer::OutputBuffer(int endian, unsigned initialSize) noexcept
    : bigEndian_(endian == kBigEndian), mustSwap_(bigEndian_) {
  const unsigned capacity = std::max(initialSize, kStep);
  block_ = static_cast<unsigned char*>(os::HeapAllocate(capacity));
  if (block_ != nullptr) capacity_ = capacity;
}

OutputBuffer::~OutputBuffer() {
  os::HeapFree(block_);
}

// By the shortfall and a reserve, or twice, whichever is more: a block that is filled in small portions is
// copied a logarithmic number of times.
bool OutputBuffer::Extend(std::uint64_t needed, unsigned char** old) noexcept {
  const std::uint64_t shortfall = needed - (capacity_ - position_);
  std::uint64_t growth = capacity_ > shortfall ? capacity_ : shortfall + kStep;
  growth = (growth + kStep - 1) / kStep * kStep;
  const std::uint64_t capacity = capacity_ + growth;
  if (capacity > std::numeric_limits<unsigned>::max()) return false;

  auto* const block = static_cast<unsigned char*>(os::HeapAllocate(static_cast<std::size_t>(capacity)));
  if (block == nullptr) return false;
  // Also what lies behind the position, when that was set back.
  if (size_ != 0) std::memcpy(block, block_, size_);
  if (old != nullptr) {
    *old = block_;
  } else {
    os::HeapFree(block_);
  }
  block_ = block;
  capacity_ = static_cast<unsigned>(capacity);
  return true;
}

bool OutputBuffer::SetPosition(unsigned position) noexcept {
  if (position > size_) return false;
  position_ = position;
  return true;
}

void OutputBuffer::Reset() noexcept {
  position_ = 0;
  size_ = 0;
}

bool OutputBuffer::Put(const bool& value) noexcept {
  const unsigned char byte = value ? 1 : 0;
  return Put1Byte(&byte);
}

bool OutputBuffer::Put(const Symbol& value) noexcept {
  const unsigned length = value.length();
  return Check(sizeof(length) + std::uint64_t{length}) && Put(length) && Put(value.begin(), length);
}

template <class Word>
bool OutputBuffer::PutArray(const void* values, unsigned count) noexcept {
  if (count == 0) return true;
  if (values == nullptr) return false;
  const std::uint64_t size = std::uint64_t{count} * sizeof(Word);
  unsigned char* old = nullptr;
  if (size > capacity_ - position_ && !Extend(size, &old)) return false;
  if (sizeof(Word) == 1 || !mustSwap_) {
    std::memmove(block_ + position_, values, static_cast<std::size_t>(size));
  } else if constexpr (sizeof(Word) > 1) {
    internal::CopyByteSwapped<Word>(block_ + position_, values, count);
  }
  MoveBufferPos(static_cast<unsigned>(size));
  os::HeapFree(old);
  return true;
}

bool OutputBuffer::Put1ByteArray(const void* values, unsigned count) noexcept {
  return PutArray<std::uint8_t>(values, count);
}
bool OutputBuffer::Put2ByteArray(const void* values, unsigned count) noexcept {
  return PutArray<std::uint16_t>(values, count);
}
bool OutputBuffer::Put4ByteArray(const void* values, unsigned count) noexcept {
  return PutArray<std::uint32_t>(values, count);
}
bool OutputBuffer::Put8ByteArray(const void* values, unsigned count) noexcept {
  return PutArray<std::uint64_t>(values, count);
}

}  // namespace du
