#include "lmkutils/platform/at_exit.h"

#include <algorithm>
#include <memory>
#include <new>

#include "lmkutils/os/memory.h"

namespace dp {
namespace {

struct HeapDeleter {
  void operator()(AtExitRecord* record) const noexcept { os::HeapFree(record); }
};
using OwnedRecord = std::unique_ptr<AtExitRecord, HeapDeleter>;

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
  if (tracker.count == 0) return;
  const OwnedRecord record(tracker.records[--tracker.count]);
  Shrink(tracker);
  if (record->function != nullptr) record->function();
}

void Clear(TrackerStackImpl& tracker) noexcept {
  while (tracker.count != 0) os::HeapFree(tracker.records[--tracker.count]);
  Shrink(tracker);
}

}  // namespace dp
