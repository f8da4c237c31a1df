#include "lmkutils/memory/mem_pool.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "lmkutils/memory/block_alloc.h"
#include "lmkutils/memory/internal/block_ledger.h"
#include "lmkutils/memory/internal/clamped.h"
#include "lmkutils/memory/internal/direct_heap.h"
#include "lmkutils/memory/internal/mem_pool_state.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/memory/small_block_alloc.h"
#include "lmkutils/memory/system_malloc_ctrl.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/platform/internal/scoped_lock.h"

namespace du {
namespace internal {
namespace {

constexpr unsigned kSmallSpan = 65536;
constexpr unsigned kBlock = 16384;

// A label as a control's name: cut to what fits, between characters.
std::array<char, MallocCtrl::NAME_LENGTH> AsName(const std::string& label) {
  std::size_t length = std::min<std::size_t>(label.size(), MallocCtrl::NAME_LENGTH - 1);
  if (length < label.size()) {
    while (length > 0 && (static_cast<unsigned char>(label[length]) & 0xC0U) == 0x80U) --length;
  }
  std::array<char, MallocCtrl::NAME_LENGTH> name{};
  std::copy_n(label.begin(), length, name.begin());
  return name;
}

void Destroy(ElementAllocator* allocator) noexcept {
  void* storage = dynamic_cast<void*>(allocator);
  allocator->~ElementAllocator();
  os::HeapFree(storage);
}

// On the run-time heap: an allocator in the common pool would be asked for its own memory.
template <class Allocator>
ElementAllocator* Make(const char* name, unsigned elementSize, unsigned blockSize,
                       SystemMallocCtrl* supplier) {
  void* storage = os::HeapAllocate(sizeof(Allocator));
  if (storage == nullptr) throw std::bad_alloc();
  try {
    return ::new (storage) Allocator(name, elementSize, blockSize, supplier);
  } catch (...) {
    os::HeapFree(storage);
    throw;
  }
}

std::pair<void*, unsigned> TryAllocate(SystemMallocCtrl* supplier, unsigned size) noexcept {
  try {
    return supplier->Allocate(size);
  } catch (const std::exception&) {  // suppliers tell exhaustion either way
    return {nullptr, 0};
  }
}

}  // namespace

ElementAllocator& MemPoolState::MakeClassAllocator(unsigned sizeClass) {
  const auto label = AsName(ClassLabel(ladder, name, sizeClass));
  const unsigned size = LargestSize(ladder, sizeClass);
  ElementAllocator* made =
      sizeClass < ShapeOf(ladder).smallClasses
          ? Make<SmallBlockAlloc<LockedSmallBlockAllocPolicy>>(label.data(), size, kSmallSpan, blockSupplier)
          : Make<BlockAlloc<LockedBlockAllocPolicy>>(label.data(), size, kBlock, blockSupplier);
  made->SetCaches(caches, sizeClass);
  try {
    MallocCtrlRegistry::Instance().RegisterRelationship(made, &pool);
  } catch (...) {
    Destroy(made);
    throw;
  }
  ElementAllocator* installed = nullptr;
  if (Slot(sizeClass).compare_exchange_strong(installed, made, std::memory_order_acq_rel)) return *made;
  Destroy(made);
  return *installed;
}

}  // namespace internal

using internal::MemPoolState;

MemPool::MemPool(const char* name, SystemMallocCtrl* blockSupplier, SystemMallocCtrl* extraSupplier,
                 bool keepLargeBlocks)
    : HandOffMallocCtrl(name, Deferred{}),
      allocate_(&MemPool::AllocateFromClasses),
      free_(&MemPool::FreeToClasses),
      named_(name != nullptr) {
  if (internal::DirectMode()) {
    allocate_ = &MemPool::AllocateDirectly;
    free_ = &MemPool::FreeDirectly;
  } else {
    Initialise(blockSupplier, extraSupplier != nullptr ? extraSupplier : blockSupplier, keepLargeBlocks);
  }
  Publish();
}

MemPool::MemPool(const char* name, SystemMallocCtrl* supplier) : MemPool(name, supplier, supplier, true) {}

void MemPool::Initialise(SystemMallocCtrl* blockSupplier, SystemMallocCtrl* extraSupplier,
                         bool keepLargeBlocks) {
  MallocCtrlRegistry& registry = MallocCtrlRegistry::Instance();
  registry.RegisterRelationship(blockSupplier, this);
  if (extraSupplier != blockSupplier) registry.RegisterRelationship(extraSupplier, this);
  void* storage = blockSupplier->Allocate(sizeof(MemPoolState)).first;
  if (storage == nullptr) throw std::bad_alloc();
  try {
    state_ = ::new (storage)
        MemPoolState(*this, named_ ? GetName() : nullptr, blockSupplier, extraSupplier, keepLargeBlocks);
  } catch (...) {
    blockSupplier->Free(storage);
    throw;
  }
}

MemPool::~MemPool() {
  Retire();
  if (state_ == nullptr) return;
  SystemMallocCtrl* supplier = state_->blockSupplier;
  state_->ForEachClass([](ElementAllocator& allocator) { internal::Destroy(&allocator); });
  if (state_->keepLargeBlocks) {
    for (const auto& [block, size] : state_->largeBlocks) state_->extraSupplier->Free(block);
  }
  state_->~MemPoolState();
  supplier->Free(state_);
}

void* MemPool::Allocate(unsigned size, void* hint) {
  if (ShouldFailOnNextRequest()) return nullptr;
  return (this->*allocate_)(size, hint);
}

void MemPool::Free(void* block, unsigned size) {
  if (block != nullptr) (this->*free_)(block, size);
}

unsigned MemPool::GetRoundedSize(unsigned size) noexcept {
  const internal::Ladder ladder = internal::ProcessLadder();
  const unsigned sizeClass = internal::ClassOf(ladder, size);
  return sizeClass != internal::kNoClass ? internal::LargestSize(ladder, sizeClass) : size;
}

void* MemPool::AllocateFromClasses(unsigned size, void* hint) {
  const unsigned sizeClass = internal::ClassOf(state_->ladder, size);
  if (sizeClass == internal::kNoClass) return AllocateLarge(size);
  try {
    void* block = state_->ClassAllocator(sizeClass).Allocate(hint);
    internal::NoteHandedOut(block);
    return block;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void MemPool::FreeToClasses(void* block, unsigned size) {
  const unsigned sizeClass = internal::ClassOf(state_->ladder, size);
  if (sizeClass == internal::kNoClass) {
    FreeLarge(block, size);
    return;
  }
  ElementAllocator* allocator = state_->Existing(sizeClass);
  internal::NoteReturned(block, allocator, GetName());
  allocator->Free(block);
}

void* MemPool::AllocateLarge(unsigned size) {
  void* block = internal::TryAllocate(state_->extraSupplier, size).first;
  if (block == nullptr) return nullptr;
  if (state_->NotesLargeBlocks()) {
    try {
      const dp::internal::ScopedLock guard(state_->lock);
      state_->largeBlocks.emplace(block, size);
    } catch (const std::bad_alloc&) {
      state_->extraSupplier->Free(block);
      return nullptr;
    }
  }
  state_->largeBytes.fetch_add(size, std::memory_order_relaxed);
  state_->largeCount.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void MemPool::FreeLarge(void* block, unsigned size) {
  if (state_->NotesLargeBlocks()) {
    const dp::internal::ScopedLock guard(state_->lock);
    const auto noted = state_->largeBlocks.find(block);
    const bool isKnown = noted != state_->largeBlocks.end();
    internal::CheckLargeReturned(block, size, isKnown ? noted->second : 0, GetName());
    if (isKnown) state_->largeBlocks.erase(noted);
  }
  state_->largeBytes.fetch_sub(size, std::memory_order_relaxed);
  state_->largeCount.fetch_sub(1, std::memory_order_relaxed);
  state_->extraSupplier->Free(block);
}

void* MemPool::AllocateDirectly(unsigned size, void*) {
  void* block = internal::DirectAllocate(size);
  if (block != nullptr) directBytes_.fetch_add(size, std::memory_order_relaxed);
  return block;
}

void MemPool::FreeDirectly(void* block, unsigned size) {
  directBytes_.fetch_sub(size, std::memory_order_relaxed);
  internal::DirectFree(block, size);
}

void MemPool::GetAllocationStats(unsigned* allocated, unsigned* held) const {
  if (allocated != nullptr) *allocated = 0;
  if (held == nullptr) return;
  std::uint64_t bytes = directBytes_.load(std::memory_order_relaxed);
  if (state_ != nullptr) {
    bytes = state_->largeBytes.load(std::memory_order_relaxed);
    state_->ForEachClass([&bytes](const ElementAllocator& allocator) {
      MemPoolClassStatistics statistics;
      allocator.GetBlockStatistics(statistics, 0);
      bytes += statistics.elementsInUse * statistics.elementSize;
    });
  }
  *held = internal::Clamped(bytes);
}

void MemPool::GetBlockStatistics(MemPoolBlockStatistics& statistics, float sparseBelow, bool usedOnly) const {
  statistics = {};
  if (state_ == nullptr) return;
  statistics.largeBlocks = state_->largeCount.load(std::memory_order_relaxed);
  statistics.largeBytes = state_->largeBytes.load(std::memory_order_relaxed);
  state_->ForEachClass([&](const ElementAllocator& allocator) {
    MemPoolClassStatistics one;
    allocator.GetBlockStatistics(one, sparseBelow);
    if (!usedOnly || one.elementsInUse != 0) statistics.classes.push_back(one);
  });
}

bool MemPool::IsInSaneState() const {
  bool sane = true;
  if (state_ != nullptr) {
    state_->ForEachClass(
        [&sane](const ElementAllocator& allocator) { sane = sane && allocator.IsInSaneState(); });
  }
  return sane;
}

void MemPool::PurgeEmptyBlocks() {
  if (state_ != nullptr)
    state_->ForEachClass([](ElementAllocator& allocator) { allocator.PurgeEmptyBlocks(); });
}

}  // namespace du
