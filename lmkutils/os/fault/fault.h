// Control of the fault face: what the functions of the seam that it stands in front of shall do next. For
// tests.
//
//   // The third call from now fails.
//   os::fault::Arming noMemory(os::fault::Call::kHeapAllocate, {.first = 3});
//
// One counter a kind of call; arming sets it back to 0. Any thread may call anything here.
#ifndef LMKUTILS_OS_FAULT_FAULT_H
#define LMKUTILS_OS_FAULT_FAULT_H

#include <cstddef>
#include <cstdint>

#include "lmkutils/os/system_error.h"

namespace os::fault {

// The kinds of call that can fail, one for each function of rename.h (several may share one). Sorted.
enum class Call : unsigned {
  kDirectoryMake,
  kDirectoryRemove,
  kFileClose,
  kFileCreate,
  kFileLock,
  kFileOpen,
  kFileRead,
  kFileRemove,
  kFileRename,
  kFileResize,
  kFileSeek,
  kFileStatus,
  kFileUnlock,
  kFileWrite,
  kHeapAllocate,
  kHeapReallocate,
  kInterruptAsked,  // "fails" by answering that there was one
  kMutexAcquire,
  kMutexRelease,
  kNativeText,
  kOtherThreadsKilled,  // "fails" by answering that they were
  kSemaphoreSignal,
  kSemaphoreWait,
  kShortPath,
  kStreamOpen,
  kThreadStart,
  kTreeList,
  kTreeStep,
  kCount,  // not a kind
};

inline constexpr std::uint64_t kForEver = ~std::uint64_t{0};

// Which calls fail, counted from 1 at the moment of arming, and how.
struct Plan {
  std::uint64_t first = 1;
  std::uint64_t count = 1;  // kForEver: this one and all later ones
  SystemError error = kErrorNotEnoughMemory;
  std::size_t cutTo = 0;  // for transfers: bytes really written before the failure is reported
};

void Arm(Call call, const Plan& plan) noexcept;
void Disarm(Call call) noexcept;

// Calls since the last Arm or Disarm of this kind, failed ones included.
std::uint64_t CountOf(Call call) noexcept;

// Armed for the length of a scope.
class Arming {
 public:
  explicit Arming(Call call, const Plan& plan = {}) noexcept : call_(call) { Arm(call, plan); }
  ~Arming() { Disarm(call_); }
  Arming(const Arming&) = delete;
  Arming& operator=(const Arming&) = delete;

 private:
  const Call call_;
};

// For the fault faces: what this call shall do.
struct Verdict {
  bool fail = false;
  SystemError error = kSuccess;
  std::size_t cutTo = 0;
};
Verdict Consult(Call call) noexcept;

}  // namespace os::fault

#endif
