#include "lmkutils/os/fast_thread_pointer.h"

#include <windows.h>

namespace os {

constinit std::atomic<unsigned long> fastThreadPointerIndex{kNoTlsIndex};

bool FastThreadPointerSet(void* value) noexcept {
  unsigned long index = fastThreadPointerIndex.load(std::memory_order_relaxed);
  if (index == kNoTlsIndex) {
    const DWORD fresh = TlsAlloc();
    if (fresh == TLS_OUT_OF_INDEXES) return false;
    if (fastThreadPointerIndex.compare_exchange_strong(index, fresh)) {
      index = fresh;
    } else {
      TlsFree(fresh);
    }
  }
  return TlsSetValue(index, value) != 0;
}

}  // namespace os
