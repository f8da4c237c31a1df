#include "lmkutils/platform/at_exit.h"

#include <algorithm>
#include <new>

#include "lmkutils/os/memory.h"
#include "lmkutils/platform/internal/take_back.h"

namespace dp {
namespace {

// Room for one element more than the tracker counts.
void Grow(TrackerStackImpl& tracker) {
  const std::size_t size = (std::size_t{tracker.count} + 1) * sizeof(AtExitRecord*);
  void* const grown = os::HeapReallocate(tracker.records, size);
  if (grown == nullptr) throw std::bad_alloc();
  tracker.records = static_cast<AtExitRecord**>(grown);
}

// The block of an empty tracker is freed, since reallocating to nothing means different things to different
// heaps; one that cannot be shrunk is merely larger than it must be.
void Shrink(TrackerStackImpl& tracker) noexcept {
  if (tracker.count == 0) {
    os::HeapFree(tracker.records);
    tracker.records = nullptr;
    return;
  }
  void* const shrunk = os::HeapReallocate(tracker.records, tracker.count * sizeof(AtExitRecord*));
  if (shrunk != nullptr) tracker.records = static_cast<AtExitRecord**>(shrunk);
}

}  // namespace

void ScheduleAtExitCall(TrackerStackImpl& tracker, unsigned longevity, AtExitFunction function) {
  Grow(tracker);
  void* const storage = os::HeapAllocate(sizeof(AtExitRecord));
  if (storage == nullptr) throw std::bad_alloc();
  AtExitRecord* const record = new (storage) AtExitRecord{longevity, function};

  AtExitRecord** const end = tracker.records + tracker.count;
  AtExitRecord** const place = std::partition_point(
      tracker.records, end, [longevity](const AtExitRecord* other) { return other->longevity >= longevity; });
  std::copy_backward(place, end, end + 1);
  *place = record;
  ++tracker.count;
}

void CancelAtExitCall(TrackerStackImpl& tracker, AtExitFunction function) noexcept {
  std::for_each_n(tracker.records, tracker.count, [function](AtExitRecord* record) {
    if (record->function == function) record->function = nullptr;
  });
}

void PopBack(TrackerStackImpl& tracker) {
  const std::optional<AtExitFunction> function = internal::TakeBack(tracker);
  if (function && *function != nullptr) (*function)();
}

void Clear(TrackerStackImpl& tracker) noexcept {
  while (tracker.count != 0) os::HeapFree(tracker.records[--tracker.count]);
  Shrink(tracker);
}

std::optional<AtExitFunction> internal::TakeBack(TrackerStackImpl& tracker) noexcept {
  if (tracker.count == 0) return std::nullopt;
  AtExitRecord* const record = tracker.records[--tracker.count];
  const AtExitFunction function = record->function;
  os::HeapFree(record);
  Shrink(tracker);
  return function;
}

}  // namespace dp
