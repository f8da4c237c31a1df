// The memory in which a record is put together.
#ifndef LMKUTILS_TRACE_INTERNAL_TEXT_BUFFER_H
#define LMKUTILS_TRACE_INTERNAL_TEXT_BUFFER_H

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace dp::internal {

// Text that grows in two steps: Reserve makes room, which may throw std::bad_alloc, and the Put operations
// use it unchecked. A record is a dozen short pieces, and checking each, as a string does, costs as much as
// copying them. Kept from record to record by a consumer.
class TextBuffer {
 public:
  TextBuffer() noexcept = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  void Clear() noexcept {
    if (Capacity() > kKeptCapacity) {
      begin_.reset();
      limit_ = nullptr;
    }
    end_ = begin_.get();
  }
  std::string_view View() const noexcept { return {begin_.get(), Size()}; }

  // Room for `size` more bytes.
  void Reserve(std::size_t size) {
    if (Capacity() - Size() < size) Grow(size);
  }

  void Put(char c) noexcept { *end_++ = c; }
  void Put(std::string_view text) noexcept {
    if (!text.empty()) std::memcpy(end_, text.data(), text.size());
    end_ += text.size();
  }
  static constexpr std::size_t kNumberSize = 11;
  void Put(int number) noexcept { end_ = std::to_chars(end_, end_ + kNumberSize, number).ptr; }
  // `write` takes the place for its text and returns the text's end.
  template <class Write>
  void PutWith(const Write& write) noexcept {
    end_ = write(end_);
  }

  char* End() noexcept { return end_; }
  std::size_t Size() const noexcept { return static_cast<std::size_t>(end_ - begin_.get()); }

 private:
  static constexpr std::size_t kKeptCapacity = 64 * 1024;
  static constexpr std::size_t kFirstCapacity = 512;

  std::size_t Capacity() const noexcept { return static_cast<std::size_t>(limit_ - begin_.get()); }
  void Grow(std::size_t size) {
    const std::size_t used = Size();
    const std::size_t capacity = std::max({kFirstCapacity, used + size, Capacity() * 2});
    std::unique_ptr<char[]> larger(new char[capacity]);
    if (used != 0) std::memcpy(larger.get(), begin_.get(), used);
    begin_ = std::move(larger);
    end_ = begin_.get() + used;
    limit_ = begin_.get() + capacity;
  }

  std::unique_ptr<char[]> begin_;
  char* end_ = nullptr;
  char* limit_ = nullptr;
};

}  // namespace dp::internal

#endif
