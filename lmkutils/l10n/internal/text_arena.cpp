#include "lmkutils/l10n/internal/text_arena.h"

#include <cstring>

namespace du::internal {
namespace {

constexpr std::size_t kBlockSize = 32768;
constexpr std::size_t kLongText =
    kBlockSize / 8;  // gets a block of its own, so that little of a shared one is lost

}  // namespace

const char* TextArena::Add(std::string_view text) {
  char* const place = Reserve(text.size() + 1);
  if (!text.empty()) std::memcpy(place, text.data(), text.size());
  place[text.size()] = '\0';
  return place;
}

char* TextArena::Reserve(std::size_t size) {
  if (size > left_) {
    const bool isLong = size > kLongText;
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(isLong ? size : kBlockSize));
    if (isLong) return blocks_.back().get();
    free_ = blocks_.back().get();
    left_ = kBlockSize;
  }
  char* const place = free_;
  free_ += size;
  left_ -= size;
  return place;
}

}  // namespace du::internal
