// The counting semaphore with a maximum. Windows: CreateSemaphoreA. Linux: a futex.
//
// A signalling thread does not touch the semaphore once a waiter may run, so the waiter may destroy it at
// once.
#ifndef LMKUTILS_OS_SEMAPHORE_H
#define LMKUTILS_OS_SEMAPHORE_H

#include <cstdint>

namespace os {

struct Semaphore;

enum class WaitResult { kAcquired, kTimedOut, kFailed };

inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;          // milliseconds: no limit
inline constexpr std::uint32_t kSemaphoreMaximum = 0x7FFFFFFF;  // the largest maximum

// Null when initial > maximum, maximum is 0 or above kSemaphoreMaximum, or memory or handles have run out.
Semaphore* SemaphoreCreate(std::uint32_t initial, std::uint32_t maximum) noexcept;
void SemaphoreDestroy(Semaphore* semaphore) noexcept;  // null does nothing

// Takes one unit, waiting up to `milliseconds` of the steady clock; 0 polls, kInfinite has no limit.
WaitResult SemaphoreWait(Semaphore* semaphore, std::uint32_t milliseconds) noexcept;

// Adds `count` units; false, and no change, when count is 0 or the sum would pass the maximum.
bool SemaphoreSignal(Semaphore* semaphore, std::uint32_t count) noexcept;

}  // namespace os

#endif
