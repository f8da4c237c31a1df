#include "lmkutils/time/internal/local_zone.h"

#include <array>
#include <atomic>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"

namespace du::internal {
namespace {

constexpr std::int64_t kBlock = 15 * 60;  // seconds
constexpr unsigned kOffsetBits = 20;
constexpr std::int64_t kOffsetLimit = std::int64_t{1} << (kOffsetBits - 1);
constexpr std::int64_t kBlockLimit = std::int64_t{1} << (63 - kOffsetBits);

// A block's number and its offset in one word, so that readers never see halves of two answers. The offset
// is stored with kOffsetLimit added, hence no word in use is 0.
using Entry = std::uint64_t;
static_assert(std::atomic<Entry>::is_always_lock_free);
constinit std::array<std::atomic<Entry>, 16> cache{};

constexpr Entry Key(std::int64_t block) noexcept {
  return static_cast<Entry>(block) << kOffsetBits;
}

bool AskOffset(std::int64_t seconds, std::int64_t& offset) noexcept {
  std::tm fields;
  if (!os::LocalCalendar(seconds, fields)) return false;
  offset = SecondsFromFields(fields) - seconds;
  return true;
}

bool IsCacheable(std::int64_t block, std::int64_t offset) noexcept {
  if (block >= kBlockLimit || block < -kBlockLimit) return false;
  if (offset >= kOffsetLimit || offset <= -kOffsetLimit) return false;
  std::int64_t first = 0, last = 0;
  return AskOffset(block * kBlock, first) && first == offset &&
         AskOffset(block * kBlock + kBlock - 1, last) && last == offset;
}

}  // namespace

bool LocalOffset(std::int64_t seconds, std::int64_t& offset) noexcept {
  const std::int64_t block = FloorDiv(seconds, kBlock);
  std::atomic<Entry>& entry = cache[static_cast<std::size_t>(block) % cache.size()];
  const Entry found = entry.load(std::memory_order_relaxed);
  if (found != 0 && (found >> kOffsetBits) == (Key(block) >> kOffsetBits)) {
    offset = static_cast<std::int64_t>(found & ((Entry{1} << kOffsetBits) - 1)) - kOffsetLimit;
    return true;
  }
  if (!AskOffset(seconds, offset)) return false;
  if (IsCacheable(block, offset)) {
    entry.store(Key(block) | static_cast<Entry>(offset + kOffsetLimit), std::memory_order_relaxed);
  }
  return true;
}

}  // namespace du::internal
