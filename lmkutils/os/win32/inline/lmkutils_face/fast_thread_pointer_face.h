// A thread-local storage index. MinGW's thread_local is a call of an emulation that costs four times as much.
#ifndef LMKUTILS_OS_WIN32_FAST_THREAD_POINTER_FACE_H
#define LMKUTILS_OS_WIN32_FAST_THREAD_POINTER_FACE_H

#include <atomic>

// As <windows.h> declares them; the whole of it is not for a header that portable code includes.
extern "C" __declspec(dllimport) void* __stdcall TlsGetValue(unsigned long index);
extern "C" __declspec(dllimport) unsigned long __stdcall GetLastError();
extern "C" __declspec(dllimport) void __stdcall SetLastError(unsigned long error);

namespace os {

inline constexpr unsigned long kNoTlsIndex = 0xFFFFFFFFUL;
extern constinit std::atomic<unsigned long> fastThreadPointerIndex;

inline void* FastThreadPointerGet() noexcept {
  const unsigned long index = fastThreadPointerIndex.load(std::memory_order_relaxed);
  if (index == kNoTlsIndex) return nullptr;
  // A successful reading sets the last error to 0, which whoever frees on the way out of a failure must not
  // lose.
  const unsigned long error = GetLastError();
  void* const value = TlsGetValue(index);
  SetLastError(error);
  return value;
}

bool FastThreadPointerSet(void* value) noexcept;

}  // namespace os

#endif
