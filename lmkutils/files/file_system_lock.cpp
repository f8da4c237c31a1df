#include "lmkutils/files/file_system_lock.h"

#include <cstdint>
#include <exception>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/saved_error.h"
#include "lmkutils/os/system_error.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

// Directly after the call that failed, whose error stays.
void TraceFailure(const char* format, const std::string& path) {
  const os::SavedError keep;
  dp::LMTracer("FileSystemLock", "")(dp::TraceType::Warning, format, path.c_str(),
                                     os::RuntimeErrorText(os::LastSystemError()).c_str());
}

// For destructors: without memory for the path the directory stays, as when the process had died.
void ReleaseQuietly(FileSystemLock& lock) noexcept {
  try {
    lock.ReleaseLock();
  } catch (const std::exception&) {
  }
}

}  // namespace

FileSystemLock::FileSystemLock(const char* path, unsigned retries, unsigned pauseSeconds) {
  BindLock(path, retries, pauseSeconds);
  ObtainLock();
}

FileSystemLock::~FileSystemLock() {
  ReleaseQuietly(*this);
}

bool FileSystemLock::BindLock(const char* path, unsigned retries, unsigned pauseSeconds) {
  if (state_ == State::kHeld && !ReleaseLock()) return false;
  path_ = internal::TextOf(path);
  retries_ = retries;
  pauseSeconds_ = pauseSeconds;
  state_ = State::kBound;
  return true;
}

bool FileSystemLock::ObtainLock() {
  if (state_ != State::kBound) return state_ == State::kHeld;
  for (unsigned retry = 0; FileSystem::Mkdir(path_.c_str()) != 0; ++retry) {
    if (retry == retries_) {
      TraceFailure("Could not obtain lock \"%s\": %s.", path_);
      return false;
    }
    os::SleepMilliseconds(std::uint64_t{1000} * pauseSeconds_);
  }
  state_ = State::kHeld;
  return true;
}

bool FileSystemLock::ReleaseLock() {
  if (state_ == State::kUnbound) return false;
  if (state_ == State::kBound) return true;
  if (FileSystem::Rmdir(path_.c_str(), false) != 0) {
    TraceFailure("Could not release lock \"%s\": %s.", path_);
    return false;
  }
  state_ = State::kBound;
  return true;
}

FileSystemLockHolder::~FileSystemLockHolder() {
  if (lock_ != nullptr) ReleaseQuietly(*lock_);
}

}  // namespace du
