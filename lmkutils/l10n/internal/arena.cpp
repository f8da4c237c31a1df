#include "lmkutils/l10n/internal/arena.h"

#include <limits>
#include <new>

namespace du::internal {
namespace {

constexpr std::size_t kBlockSize = 32768;
// What is larger gets a block of its own, so that little of a shared one is lost.
constexpr std::size_t kLarge = kBlockSize / 8;

static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= Arena::kAlignment);

}  // namespace

char* Arena::Allocate(std::size_t size) {
  if (size > std::numeric_limits<std::size_t>::max() - kAlignment) throw std::bad_alloc();
  const std::size_t rounded = (size + kAlignment - 1) & ~(kAlignment - 1);
  if (rounded > left_) {
    const bool isLarge = rounded > kLarge;
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(isLarge ? rounded : kBlockSize));
    if (isLarge) return blocks_.back().get();
    free_ = blocks_.back().get();
    left_ = kBlockSize;
  }
  char* const piece = free_;
  free_ += rounded;
  left_ -= rounded;
  return piece;
}

}  // namespace du::internal
