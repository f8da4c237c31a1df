// The ladder of sizes to which the memory pool rounds requests.
#ifndef LMKUTILS_MEMORY_INTERNAL_SIZE_CLASSES_H
#define LMKUTILS_MEMORY_INTERNAL_SIZE_CLASSES_H

#include <array>
#include <bit>
#include <cstdint>
#include <string>

namespace du::internal {

// kNormal: steps of 8 up to 256 bytes, then 16 steps to each doubling. kHigherSpeed: the same above 64 bytes;
// below, four classes share each rounded size, so that requests of neighbouring sizes have allocators of
// their own.
enum class Ladder { kNormal, kHigherSpeed };

// The largest request that has a class.
inline constexpr unsigned kLargestClassSize = 16384;
inline constexpr unsigned kMaxSmallClasses = 32;
inline constexpr unsigned kLargeTableClasses = 120;
inline constexpr unsigned kMaxClasses = kMaxSmallClasses + kLargeTableClasses;
// What larger requests have.
inline constexpr unsigned kNoClass = kMaxClasses;

// Where the two ladders differ: requests of up to `spreadBelow` bytes go to class (size - 1) / 2, all others
// to the normal class plus `shift`.
struct LadderShape {
  unsigned spreadBelow;
  unsigned shift;
  unsigned smallClasses;  // served by small-block allocators
};

constexpr LadderShape ShapeOf(Ladder ladder) noexcept {
  return ladder == Ladder::kNormal ? LadderShape{.spreadBelow = 0, .shift = 0, .smallClasses = 8}
                                   : LadderShape{.spreadBelow = 64, .shift = 24, .smallClasses = 32};
}

constexpr unsigned ClassCount(Ladder ladder) noexcept {
  return ShapeOf(ladder).smallClasses + kLargeTableClasses;
}

// The class of a request; kNoClass above kLargestClassSize. Above 256 bytes each doubling has 16 classes, so
// the class is the top five bits of size - 1 and the number of bits below them; to 256 bytes, where 3 bits
// are cut off always, likewise.
constexpr unsigned ClassOf(Ladder ladder, unsigned size) noexcept {
  if (size > kLargestClassSize) return kNoClass;
  const LadderShape shape = ShapeOf(ladder);
  const unsigned last = size - (size != 0 ? 1U : 0U);
  if (last < shape.spreadBelow) return last >> 1;
  const unsigned cut = (31U ^ static_cast<unsigned>(std::countl_zero(last | 128U))) - 4;
  return (last >> cut) + ((cut - 3) << 4) + shape.shift;
}

// ClassOf worked out beforehand, a byte for each 8 bytes of size, for the hot path, in which to find the
// highest bit of a size would cost as much as all the rest. Sizes come in any order, so this branches only
// where all go one way.
class ClassTable {
 public:
  constexpr explicit ClassTable(Ladder ladder) noexcept : spreadBelow_(ShapeOf(ladder).spreadBelow) {
    for (unsigned i = 0; i < classes_.size(); ++i) {
      classes_[i] = static_cast<std::uint8_t>(internal::ClassOf(ladder, i * kStep));
    }
  }

  // Up to kLargestClassSize.
  unsigned ClassOf(unsigned size) const noexcept {
    if (size < spreadBelow_) [[unlikely]]
      return (size - (size != 0 ? 1U : 0U)) >> 1;
    return classes_[(size + kStep - 1) / kStep];
  }

 private:
  static constexpr unsigned kStep = 8;

  const unsigned spreadBelow_;
  std::array<std::uint8_t, kLargestClassSize / kStep + 1> classes_{};
};

// The table of a ladder.
const ClassTable& ClassTableOf(Ladder ladder) noexcept;

// The rounded size of a class.
constexpr unsigned LargestSize(Ladder ladder, unsigned sizeClass) noexcept {
  const LadderShape shape = ShapeOf(ladder);
  if (ladder == Ladder::kHigherSpeed && sizeClass < shape.smallClasses) return ((sizeClass >> 2) << 3) + 8;
  const unsigned normal = sizeClass - shape.shift;
  if (normal < 32) return 8 * normal + 8;
  const unsigned step = (normal >> 4) + 2;  // log2 of the distance between neighbours
  return ((normal & 15U) + 17U) << step;
}

// The smallest request of a class.
constexpr unsigned SmallestSize(Ladder ladder, unsigned sizeClass) noexcept {
  const bool spread = ladder == Ladder::kHigherSpeed && sizeClass < ShapeOf(ladder).smallClasses;
  const unsigned back = spread ? 4 : 1;
  return sizeClass < back ? 1 : LargestSize(ladder, sizeClass - back) + 1;
}

// What the allocator of a class is called in the pool `poolName` (null prints as "-"); at most 511 bytes.
std::string ClassLabel(Ladder ladder, const char* poolName, unsigned sizeClass);

// The ladder of this process. The environment chooses it ("LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT") when the
// library initialises its static data, or before that at the first request.
Ladder ProcessLadder() noexcept;

// Whether the environment asks for pools without pooling ("LUMORA_MEM_MAXSPEED_MAXFOOTPRINT"); read at the
// first call.
bool DirectMode() noexcept;

}  // namespace du::internal

#endif
