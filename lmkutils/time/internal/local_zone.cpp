#include "lmkutils/time/internal/local_zone.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"

namespace du::internal {
namespace {

constexpr unsigned kOffsetBits = 20;
constexpr std::int64_t kOffsetLimit = std::int64_t{1} << (kOffsetBits - 1);
constexpr std::int64_t kBlockLimit = std::int64_t{1} << (63 - kOffsetBits);

bool AskOffset(std::int64_t seconds, std::int64_t& offset) noexcept {
  std::tm fields;
  if (!os::LocalCalendar(seconds, fields)) return false;
  offset = SecondsFromFields(fields) - seconds;
  return true;
}

// The offsets of blocks of kSeconds, as many as there is room for; a block that changes its offset is
// remembered as such.
template <std::int64_t kSeconds, std::size_t kRoom>
class OffsetCache {
 public:
  enum class Answer { kUnknown, kKnown, kMixed };

  Answer Find(std::int64_t seconds, std::int64_t& offset) const noexcept {
    const std::int64_t block = FloorDiv(seconds, kSeconds);
    const Entry found = entries_[static_cast<std::size_t>(block) % kRoom].load(std::memory_order_relaxed);
    if (found == 0 || (found >> kOffsetBits) != (Key(block) >> kOffsetBits)) return Answer::kUnknown;
    const Entry stored = found & ((Entry{1} << kOffsetBits) - 1);
    if (stored == kMixed) return Answer::kMixed;
    offset = static_cast<std::int64_t>(stored) - kOffsetLimit;
    return Answer::kKnown;
  }

  // `offset` is the answer for an instant of the block. It is taken for the whole block's when both ends and
  // an instant of each day have it.
  void Learn(std::int64_t seconds, std::int64_t offset) noexcept {
    const std::int64_t block = FloorDiv(seconds, kSeconds);
    if (block >= kBlockLimit || block < -kBlockLimit) return;
    const std::int64_t first = block * kSeconds, last = first + kSeconds - 1;
    bool isWhole = true;
    for (std::int64_t at = first;; at = std::min(at + kSecondsPerDay, last)) {
      std::int64_t there = 0;
      if (!AskOffset(at, there)) return;
      isWhole = isWhole && there == offset;
      if (at == last) break;
    }
    const std::int64_t stored = isWhole ? offset + kOffsetLimit : std::int64_t{kMixed};
    if (stored < kMixed || stored >= 2 * kOffsetLimit) return;
    entries_[static_cast<std::size_t>(block) % kRoom].store(Key(block) | static_cast<Entry>(stored),
                                                            std::memory_order_relaxed);
  }

 private:
  // A block's number and its offset in one word, so that readers never see halves of two answers. The offset
  // is stored with kOffsetLimit added, hence no word in use is 0.
  using Entry = std::uint64_t;
  static_assert(std::atomic<Entry>::is_always_lock_free);
  static constexpr int kMixed = 1;  // in place of an offset; no zone is that far from UTC

  static constexpr Entry Key(std::int64_t block) noexcept { return static_cast<Entry>(block) << kOffsetBits; }

  std::array<std::atomic<Entry>, kRoom> entries_{};
};

// Six days, for 68 years of them. No zone has changed its offset and changed it back within a day (within
// four, once: Freetown in September 1939), so that days that agree speak for what lies between them.
using Days = OffsetCache<std::int64_t{1} << 19, 4096>;
// For the days around a change.
using Quarters = OffsetCache<std::int64_t{15 * 60}, 16>;

constinit Days days;
constinit Quarters quarters;

}  // namespace

bool LocalOffset(std::int64_t seconds, std::int64_t& offset) noexcept {
  const Days::Answer answer = days.Find(seconds, offset);
  if (answer == Days::Answer::kKnown) return true;
  if (answer == Days::Answer::kMixed && quarters.Find(seconds, offset) == Quarters::Answer::kKnown)
    return true;
  if (!AskOffset(seconds, offset)) return false;
  if (answer == Days::Answer::kMixed) {
    quarters.Learn(seconds, offset);
  } else {
    days.Learn(seconds, offset);
  }
  return true;
}

}  // namespace du::internal
