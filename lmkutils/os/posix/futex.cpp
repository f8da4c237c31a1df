#include "lmkutils/os/posix/futex.h"

#include <bit>
#include <cerrno>
#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace os {

static_assert(std::endian::native == std::endian::little,
              "the lower half of a word is where its address points");

// The bit-set form takes its time-out as an instant, so that an interrupted wait need not be shortened.
FutexResult FutexWait(const void* word, std::uint32_t expected, const timespec* deadline) noexcept {
  const int saved = errno;
  const long result = syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, deadline, nullptr,
                              FUTEX_BITSET_MATCH_ANY);
  const int error = result == 0 ? 0 : errno;
  errno = saved;
  if (error == 0 || error == EAGAIN || error == EINTR) return FutexResult::kWoken;
  return error == ETIMEDOUT ? FutexResult::kTimedOut : FutexResult::kFailed;
}

void FutexWake(const void* word, std::uint32_t count) noexcept {
  const int saved = errno;
  syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count > INT_MAX ? INT_MAX : count, nullptr, nullptr, 0);
  errno = saved;
}

timespec DeadlineIn(std::uint32_t milliseconds) noexcept {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  time.tv_sec += milliseconds / 1000;
  time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
  if (time.tv_nsec >= 1'000'000'000) {
    time.tv_nsec -= 1'000'000'000;
    ++time.tv_sec;
  }
  return time;
}

}  // namespace os
