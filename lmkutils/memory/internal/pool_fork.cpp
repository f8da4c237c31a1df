#include "lmkutils/memory/internal/pool_fork.h"

#include "lmkutils/memory/element_allocator.h"
#include "lmkutils/memory/internal/common_pools.h"
#include "lmkutils/memory/internal/malloc_ctrl_registry_impl.h"
#include "lmkutils/os/fork_hooks.h"

namespace du::internal {

constinit MallocCtrlRegistryImpl* PoolFork::registry_ = nullptr;
constinit CommonPools* PoolFork::pools_ = nullptr;
constinit std::array<ElementAllocator*, kMaxClasses> PoolFork::classes_{};
constinit std::size_t PoolFork::classCount_ = 0;

void PoolFork::AddHooks() noexcept {
  os::AddForkHooks(os::ForkRank::kInnermost, {.before = &Before, .inParent = &InParent, .inChild = &InChild});
}

// In the order in which threads nest them.
void PoolFork::Before() noexcept {
  MallocCtrlRegistryImpl* const registry = MallocCtrlRegistryImpl::Existing();
  if (registry == nullptr) return;
  registry->HoldForFork();
  registry_ = registry;
  commonCaches.HoldForFork();
  pools_ = CommonPools::Existing();
  classCount_ = 0;
  if (pools_ == nullptr) return;
  if (MemPoolState* const state = pools_->State()) {
    state->ForEachClass([](ElementAllocator& allocator) {
      allocator.Enter();
      classes_[classCount_++] = &allocator;
    });
    state->lock.Lock();
  }
  pools_->blocks.Lock();
  pools_->extra.Lock();
}

void PoolFork::Release() noexcept {
  if (pools_ != nullptr) {
    pools_->extra.Unlock();
    pools_->blocks.Unlock();
    if (MemPoolState* const state = pools_->State()) state->lock.Unlock();
    while (classCount_ != 0) classes_[--classCount_]->Leave();
  }
  commonCaches.ReleaseAfterFork();
}

void PoolFork::InParent() noexcept {
  MallocCtrlRegistryImpl* const registry = registry_;
  if (registry == nullptr) return;
  Release();
  registry_ = nullptr;
  registry->ReleaseAfterFork();
}

void PoolFork::InChild() noexcept {
  MallocCtrlRegistryImpl* const registry = registry_;
  if (registry == nullptr) return;
  Release();
  registry_ = nullptr;
  registry->ReleaseInForkedChild();
}

}  // namespace du::internal
