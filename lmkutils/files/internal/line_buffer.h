// The storage of the line that du::LineReader has read.
#ifndef LMKUTILS_FILES_INTERNAL_LINE_BUFFER_H
#define LMKUTILS_FILES_INTERNAL_LINE_BUFFER_H

#include <cstddef>
#include <cstring>

namespace du::internal {

// Bytes, and room for a zero unit of UTF-16 behind them, in storage that doubles when it is full. Aligned for
// UTF-16.
class LineBuffer {
 public:
  LineBuffer();  // throws std::bad_alloc
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;
  ~LineBuffer();

  const char* Data() const noexcept { return data_; }
  std::size_t Size() const noexcept { return size_; }

  // Begins anew.
  void Clear() noexcept { size_ = 0; }
  // The same, and gives back what an unusually long line has taken; keeps it when there is no memory for
  // less.
  void Shrink() noexcept {
    size_ = 0;
    if (capacity_ > kLargestKept) Replace();
  }

  // Room for so many bytes more, which Add makes part of the line once they are there. Throws std::bad_alloc,
  // and leaves the line as it is then.
  char* Room(std::size_t size) {
    if (size > capacity_ - kTerminator - size_) Grow(size);
    return data_ + size_;
  }
  void Add(std::size_t size) noexcept { size_ += size; }
  void Append(const char* bytes, std::size_t size) {
    std::memcpy(Room(size), bytes, size);
    Add(size);
  }

  // Takes a Unit (char or char16_t) off the end if it is there.
  template <class Unit>
  void DropLast(Unit unit) noexcept {
    Unit last;
    if (size_ < sizeof(last)) return;
    std::memcpy(&last, data_ + size_ - sizeof(last), sizeof(last));
    if (last == unit) size_ -= sizeof(last);
  }

  // Puts the zero unit behind what is there now; to be called when it is complete.
  void Terminate() noexcept { std::memset(data_ + size_, 0, kTerminator); }

 private:
  static constexpr std::size_t kTerminator = 2;
  static constexpr std::size_t kFirstCapacity = 1024;
  static constexpr std::size_t kLargestKept = 4096;

  void Grow(std::size_t size);
  void Replace() noexcept;

  char* data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = kFirstCapacity;
};

}  // namespace du::internal

#endif
