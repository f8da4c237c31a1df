#include "lmkutils/data/internal/value_index.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "lmkutils/data/internal/pointer_hash.h"

namespace du::internal {
namespace {

constexpr std::size_t kValuesInBucket = 16;

}  // namespace

// A counting sort by buckets. What is counted becomes the start of each bucket, and the start its end while
// positions are put in.
ValueIndex::ValueIndex(std::span<const Symbol> values)
    : bits_(static_cast<unsigned>(std::bit_width(values.size() / kValuesInBucket))),
      ends_(std::size_t{1} << bits_),
      positions_(values.size()) {
  for (const Symbol& value : values) ++ends_[BucketOf(value.c_str())];
  std::uint32_t start = 0;
  for (std::uint32_t& bucket : ends_) start += std::exchange(bucket, start);
  std::uint32_t position = 0;
  for (const Symbol& value : values) positions_[ends_[BucketOf(value.c_str())]++] = position++;
}

std::span<const std::uint32_t> ValueIndex::Candidates(const char* text) const noexcept {
  const std::size_t bucket = BucketOf(text);
  const std::uint32_t start = bucket == 0 ? 0 : ends_[bucket - 1];
  return std::span(positions_).subspan(start, ends_[bucket] - start);
}

bool ValueIndex::IsConsistent(std::span<const Symbol> values) const {
  if (positions_.size() != values.size() || !std::is_sorted(ends_.begin(), ends_.end())) return false;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto candidates = Candidates(values[i].c_str());
    if (!std::is_sorted(candidates.begin(), candidates.end())) return false;
    if (!std::binary_search(candidates.begin(), candidates.end(), static_cast<std::uint32_t>(i)))
      return false;
  }
  return true;
}

std::size_t ValueIndex::BucketOf(const char* text) const noexcept {
  return HashPointer(reinterpret_cast<std::uintptr_t>(text), bits_);
}

}  // namespace du::internal
