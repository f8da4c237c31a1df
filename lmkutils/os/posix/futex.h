// Sleeping on a 32-bit word until it changes. For the sources of this folder only.
#ifndef LMKUTILS_OS_POSIX_FUTEX_H
#define LMKUTILS_OS_POSIX_FUTEX_H

#include <cstdint>
#include <ctime>

namespace os {

enum class FutexResult { kWoken, kTimedOut, kFailed };

// `word` is an atomic of 32 bits, or the lower half of one of 64. Sleeps while it is `expected`, until woken
// or until `deadline` of the steady clock (null: no limit). May return kWoken without cause: the caller looks
// at the word again. Leaves errno alone.
FutexResult FutexWait(const void* word, std::uint32_t expected, const timespec* deadline = nullptr) noexcept;

// Wakes up to `count` threads. The word may be gone already.
void FutexWake(const void* word, std::uint32_t count) noexcept;

// The steady clock's time that many milliseconds from now.
timespec DeadlineIn(std::uint32_t milliseconds) noexcept;

}  // namespace os

#endif
