#include "lmkutils/memory/element_allocator.h"

#include <algorithm>
#include <new>

#include "lmkutils/memory/internal/clamped.h"
#include "lmkutils/memory/internal/element_store.h"
#include "lmkutils/memory/internal/page_map.h"
#include "lmkutils/memory/internal/thread_cache.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/memory/mem_pool_block_statistics.h"
#include "lmkutils/memory/system_malloc_ctrl.h"
#include "lmkutils/os/memory.h"

namespace du {
namespace {

// Of elements and blocks: beyond it the size of a span would not fit 32 bits.
constexpr unsigned kLargestSize = 1U << 30;

constexpr unsigned RoundedUp(unsigned value, unsigned step) noexcept {
  return std::max(step, (value + step - 1) / step * step);
}

bool IsRegistered(SystemMallocCtrl* control) noexcept {
  try {
    return MallocCtrlRegistry::Instance().GetCtrlIndex(control) != MallocCtrlRegistry::kNone;
  } catch (...) {  // after the registry's end nothing is given back
    return false;
  }
}

}  // namespace

class ElementAllocator::Section {
 public:
  explicit Section(const ElementAllocator& allocator) noexcept : allocator_(allocator) { allocator_.Enter(); }
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;
  ~Section() { allocator_.Leave(); }

 private:
  const ElementAllocator& allocator_;
};

ElementAllocator::ElementAllocator(const char* name, unsigned elementSize, unsigned blockSize,
                                   SystemMallocCtrl* supplier)
    : FixedSizeMallocCtrl(name, Deferred{}) {
  if (elementSize > kLargestSize || blockSize > kLargestSize) throw std::bad_alloc();
  void* storage = os::HeapAllocate(sizeof(internal::ElementStore));
  if (storage == nullptr) throw std::bad_alloc();
  store_ = ::new (storage) internal::ElementStore(
      this, RoundedUp(elementSize, 8), RoundedUp(blockSize, internal::PageMap::kPageSize), supplier);
}

ElementAllocator::~ElementAllocator() {
  store_->Spans().ReleaseAll(IsRegistered(store_->Supplier()));
  store_->~ElementStore();
  os::HeapFree(store_);
}

void* ElementAllocator::Allocate(void*) {
  return TakeMany(1).head;
}

void ElementAllocator::Free(void* element) {
  if (element == nullptr) return;
  internal::Chain chain;
  chain.Push(element);
  GiveMany(chain);
}

internal::Chain ElementAllocator::TakeMany(std::size_t count) {
  if (ShouldFailOnNextRequest()) return {};
  const Section section(*this);
  return store_->Take(count);
}

void ElementAllocator::GiveMany(internal::Chain chain) {
  const Section section(*this);
  store_->Give(chain);
}

void ElementAllocator::SetCaches(const internal::CacheSet* caches, unsigned sizeClass) noexcept {
  const Section section(*this);  // walks see the allocator already
  store_->caches = caches;
  store_->sizeClass = sizeClass;
}

void ElementAllocator::GetBlockStatistics(MemPoolClassStatistics& statistics, float sparseBelow) const {
  const char* name = GetName();
  std::copy_n(name, NAME_LENGTH, statistics.label.begin());
  const internal::CacheSet* caches = nullptr;
  {
    const Section section(*this);
    caches = store_->caches;
    statistics.sizeClass = store_->sizeClass;
  }
  // The lock of the caches comes before that of a class.
  const std::uint64_t cached = caches != nullptr ? caches->CountCached(statistics.sizeClass) : 0;
  const Section section(*this);
  const internal::SpanStore& spans = store_->Spans();
  const std::uint64_t out = store_->ElementsOut();
  statistics.elementSize = spans.ElementSize();
  // The caches are counted while their threads go on: never more than is out.
  statistics.elementsCached = std::min(cached, out);
  statistics.elementsInUse = out - statistics.elementsCached;
  statistics.elementsFree = spans.ElementsHeld() - out;
  statistics.blocks = spans.Spans();
  statistics.sparseBlocks = spans.SpansBelow(sparseBelow);
  statistics.emptyBlocks = spans.EmptySpans();
  statistics.bytesHeld = spans.BytesHeld();
}

void ElementAllocator::GetAllocationStats(unsigned* allocated, unsigned* held) const {
  MemPoolClassStatistics statistics;
  GetBlockStatistics(statistics, 0);
  if (allocated != nullptr) *allocated = internal::Clamped(statistics.elementsInUse * statistics.elementSize);
  if (held != nullptr) *held = internal::Clamped(statistics.bytesHeld);
}

void ElementAllocator::GetAllocationDetails(unsigned* elementSize, unsigned* elementsInUse,
                                            unsigned* elementsHeld) const {
  MemPoolClassStatistics statistics;
  GetBlockStatistics(statistics, 0);
  if (elementSize != nullptr) *elementSize = statistics.elementSize;
  if (elementsInUse != nullptr) *elementsInUse = internal::Clamped(statistics.elementsInUse);
  if (elementsHeld != nullptr) {
    *elementsHeld =
        internal::Clamped(statistics.elementsInUse + statistics.elementsCached + statistics.elementsFree);
  }
}

void ElementAllocator::PurgeEmptyBlocks() {
  const Section section(*this);
  store_->Drain();
  store_->Spans().PurgeEmpty();
}

bool ElementAllocator::IsInSaneState() const {
  const Section section(*this);
  return store_->Spans().IsInSaneState();
}

}  // namespace du
