// A thread-local storage index. MinGW's thread_local is a call of an emulation that costs four times as much.
#ifndef LMKUTILS_OS_WIN32_FAST_THREAD_POINTER_FACE_H
#define LMKUTILS_OS_WIN32_FAST_THREAD_POINTER_FACE_H

#include <atomic>

// As <processthreadsapi.h> declares it; the whole of <windows.h> is not for a header that portable code
// includes.
extern "C" __declspec(dllimport) void* __stdcall TlsGetValue(unsigned long index);

namespace os {

inline constexpr unsigned long kNoTlsIndex = 0xFFFFFFFFUL;
extern constinit std::atomic<unsigned long> fastThreadPointerIndex;

inline void* FastThreadPointerGet() noexcept {
  const unsigned long index = fastThreadPointerIndex.load(std::memory_order_relaxed);
  return index != kNoTlsIndex ? TlsGetValue(index) : nullptr;
}

bool FastThreadPointerSet(void* value) noexcept;

}  // namespace os

#endif
