// du::SystemAllocator: page-level suppliers, with the policies that lock them and size their requests.
#ifndef LMKUTILS_MEMORY_SYSTEM_ALLOCATOR_H
#define LMKUTILS_MEMORY_SYSTEM_ALLOCATOR_H

#include <cstddef>

#include "lmkutils/export.h"
#include "lmkutils/memory/memory_map.h"
#include "lmkutils/memory/system_malloc_ctrl.h"
#include "lmkutils/platform/object_level_lockable.h"

namespace du {

namespace internal {
class PageArena;
}

// How much memory a SystemAllocator asks its source for at a time, and in what unit it hands it out.
//   SmallestRequest   bytes of the smallest mapping, which is also the first
//   LargestRequest    bytes of the largest mapping made in advance; a larger block has a mapping of its own
//   GrowthDivisor     a new mapping has 1/GrowthDivisor of the bytes held, within the two limits
//   Unit              bytes, a power of two up to 8 KiB; each block is whole units and starts at one
//   Source            has MapNewMemory(hint, size) and ReleaseMappedMemory(address, size) as du::MemoryMap
template <std::size_t SmallestRequest, std::size_t LargestRequest, std::size_t GrowthDivisor,
          std::size_t Unit, class Source>
struct DefaultPageRequestPolicy {
  static_assert(Unit >= 64 && Unit <= 8192 && (Unit & (Unit - 1)) == 0,
                "a unit is a power of two, has room for a free run's links, and mappings are aligned to it");
  static_assert(SmallestRequest <= LargestRequest && SmallestRequest % Unit == 0 && GrowthDivisor > 0);
  static constexpr std::size_t kSmallestRequest = SmallestRequest;
  static constexpr std::size_t kLargestRequest = LargestRequest;
  static constexpr std::size_t kGrowthDivisor = GrowthDivisor;
  static constexpr std::size_t kUnit = Unit;
  static void* Map(void* hint, std::size_t size) noexcept { return Source::MapNewMemory(hint, size); }
  static void Unmap(void* address, std::size_t size) noexcept { Source::ReleaseMappedMemory(address, size); }
};

// A lock policy: one spin lock an allocator.
class LMK_API LockedSystemAllocatorPolicy : public dp::ObjectLevelLockable<LockedSystemAllocatorPolicy*> {
 public:
  void Lock() const noexcept { ObjectLock().Lock(); }
  void Unlock() const noexcept { ObjectLock().Unlock(); }
};

// What all page-level suppliers share; blocks are 16-byte aligned, and 8 KiB aligned when their size is a
// multiple of that. A block's real size is the size asked for in whole units.
class LMK_API SystemAllocatorBase : public SystemMallocCtrl {
 public:
  SystemAllocatorBase(const SystemAllocatorBase&) = delete;
  SystemAllocatorBase& operator=(const SystemAllocatorBase&) = delete;
  // Gives all memory back to the source, blocks that are still in use with it.
  ~SystemAllocatorBase() override;

 protected:
  using MapFunction = void* (*)(void*, std::size_t) noexcept;
  using UnmapFunction = void (*)(void*, std::size_t) noexcept;
  SystemAllocatorBase(const char* name, std::size_t smallestRequest, std::size_t largestRequest,
                      std::size_t growthDivisor, std::size_t unit, MapFunction map, UnmapFunction unmap);

  std::pair<void*, unsigned> AllocateUnlocked(unsigned size) noexcept;
  void FreeUnlocked(void* block) noexcept;
  void StatsUnlocked(unsigned* allocated, unsigned* held) const noexcept;
  void PurgeUnlocked() noexcept;
  bool SaneUnlocked() const noexcept;

 private:
  internal::PageArena* arena_;
};

// A page-level supplier. LockPolicy is a base class with a nested Guard, such as LockedSystemAllocatorPolicy;
// PageRequestPolicy such as DefaultPageRequestPolicy. As thread-safe as its LockPolicy makes it.
template <class LockPolicy, class PageRequestPolicy>
class SystemAllocator final : public SystemAllocatorBase, public LockPolicy {
 public:
  // Throws std::bad_alloc and what MallocCtrl throws; maps nothing yet.
  explicit SystemAllocator(const char* name)
      : SystemAllocatorBase(name, PageRequestPolicy::kSmallestRequest, PageRequestPolicy::kLargestRequest,
                            PageRequestPolicy::kGrowthDivisor, PageRequestPolicy::kUnit,
                            &PageRequestPolicy::Map, &PageRequestPolicy::Unmap) {
    this->Publish();
  }
  ~SystemAllocator() override { this->Retire(); }

  // {null, 0} when the source is exhausted or the fail flag is set.
  std::pair<void*, unsigned> Allocate(unsigned size) override {
    if (this->ShouldFailOnNextRequest()) return {nullptr, 0};
    const typename LockPolicy::Guard guard(*this);
    return this->AllocateUnlocked(size);
  }

  // Null is ignored.
  void Free(void* block) override {
    if (block == nullptr) return;
    const typename LockPolicy::Guard guard(*this);
    this->FreeUnlocked(block);
  }

  // Bytes in blocks and bytes mapped.
  void GetAllocationStats(unsigned* allocated, unsigned* held) const override {
    const typename LockPolicy::Guard guard(*this);
    this->StatsUnlocked(allocated, held);
  }

  // Gives mappings in which no block is left back to the source.
  void PurgeEmptyBlocks() {
    const typename LockPolicy::Guard guard(*this);
    this->PurgeUnlocked();
  }

  // Whether the allocator's books agree with each other.
  bool IsInSaneState() const {
    const typename LockPolicy::Guard guard(*this);
    return this->SaneUnlocked();
  }
};

}  // namespace du

#endif
