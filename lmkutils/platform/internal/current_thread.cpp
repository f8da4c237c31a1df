#include "lmkutils/platform/internal/current_thread.h"

#include <atomic>
#include <cstdlib>

#include "lmkutils/platform/thread_local_storage.h"

namespace dp::internal {
namespace {

constexpr int kNotYet = -1;

// One key of the process, allocated when the first thread needs it.
constinit std::atomic<int> currentThreadKey{kNotYet};

// Keys are few: without this each unloading of the library would lose one.
void GiveKeyBack() noexcept {
  const int key = currentThreadKey.exchange(kNotYet);
  if (key != kNotYet) ThreadLocalStorage::FreeKey(key);
}

int KeyForWriting() noexcept {
  int key = currentThreadKey.load(std::memory_order_acquire);
  if (key != kNotYet) return key;
  const int fresh = ThreadLocalStorage::AllocKey();
  if (fresh == kNotYet) return kNotYet;
  if (currentThreadKey.compare_exchange_strong(key, fresh, std::memory_order_acq_rel)) {
    std::atexit(GiveKeyBack);
    return fresh;
  }
  ThreadLocalStorage::FreeKey(fresh);
  return key;
}

}  // namespace

Thread* CurrentThread() noexcept {
  const int key = currentThreadKey.load(std::memory_order_acquire);
  return key == kNotYet ? nullptr : static_cast<Thread*>(ThreadLocalStorage::GetValue(key));
}

void SetCurrentThread(Thread* thread) noexcept {
  const int key = KeyForWriting();
  if (key != kNotYet) ThreadLocalStorage::SetValue(key, thread);
}

}  // namespace dp::internal
