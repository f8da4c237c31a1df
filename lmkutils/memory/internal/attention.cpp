#include "lmkutils/memory/internal/attention.h"

#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"

namespace du::internal {
namespace {

// The count and the flag change together.
constinit dp::internal::LazySpinLock lock;

}  // namespace

constinit Attention attention;

void Attention::AddFailing() noexcept {
  const dp::internal::ScopedLock guard(lock.Get());
  if (failing_.fetch_add(1, std::memory_order_relaxed) == 0) {
    word_.fetch_or(kSomeControlFails, std::memory_order_relaxed);
  }
}

void Attention::RemoveFailing() noexcept {
  const dp::internal::ScopedLock guard(lock.Get());
  if (failing_.fetch_sub(1, std::memory_order_relaxed) == 1) {
    word_.fetch_and(~kSomeControlFails, std::memory_order_relaxed);
  }
}

}  // namespace du::internal
