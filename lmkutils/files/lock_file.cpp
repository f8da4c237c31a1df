#include "lmkutils/files/lock_file.h"

#include <exception>
#include <string>
#include <utility>

#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/file.h"
#include "lmkutils/os/file_lock.h"
#include "lmkutils/os/file_status.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

constexpr char kContents[] = {'l', 'o', 'c', 'k'};

void TraceFailure(const char* format, const Symbol& name, os::SystemError error) {
  dp::LMTracer("LockFile", "")(dp::TraceType::Warning, format, name.c_str(),
                               os::RuntimeErrorText(error).c_str());
}

// The size's low and high 16 bits as the low and high half of a 64-bit length: what other programs of the
// system's family lock.
std::uint64_t RangeLength(std::uint32_t size) noexcept {
  return static_cast<std::uint64_t>(size >> 16) << 32 | (size & 0xFFFF);
}

// Somebody has the file: waiting is the caller's business.
bool EndsAttempts(os::SystemError error) noexcept {
  return error == os::kErrorInvalidHandle || error == os::kErrorLockViolation ||
         error == os::kErrorSharingViolation;
}

os::SystemError QuerySize(os::File file, std::uint32_t& size) noexcept {
  os::FileStatus status;
  const os::SystemError error = os::QueryFileStatus(file, &status);
  if (error == os::kSuccess) size = static_cast<std::uint32_t>(status.size);
  return error;
}

}  // namespace

LockFile::LockFile() noexcept : handle_(os::File::kNone) {}

LockFile::LockFile(const Symbol& name, unsigned attempts, unsigned pauseMs) : LockFile() {
  Bind(name, attempts, pauseMs);
}

LockFile::LockFile(const LockFile& other) : LockFile() {
  *this = other;
}

LockFile& LockFile::operator=(const LockFile& other) {
  if (this == &other) return *this;
  Bind(other.name_, other.attempts_, other.pauseMs_);
  if (other.state_ == State::kUnbound) state_ = State::kUnbound;
  return *this;
}

LockFile::~LockFile() {
  try {
    Release();
  } catch (const std::exception&) {  // no memory for the trace; the lock is given back by then
  }
}

void LockFile::Bind(const Symbol& name, unsigned attempts, unsigned pauseMs) {
  Release();
  name_ = name;
  attempts_ = attempts;
  pauseMs_ = pauseMs;
  state_ = State::kBound;
}

os::SystemError LockFile::Open() {
  return internal::TryPath(name_.c_str(), true, [this](const char* form) {
    const os::SystemError error = os::OpenLockFile(form, &handle_);
    return error == os::kErrorAlreadyExists && handle_ != os::File::kNone ? os::kSuccess : error;
  });
}

// An empty file has no range that could be locked.
os::SystemError LockFile::WriteContents() {
  if (const os::SystemError error = QuerySize(handle_, size_)) return error;
  if (size_ != 0) return os::kSuccess;
  std::size_t written = 0;
  if (const os::SystemError error = os::WriteOnce(handle_, kContents, sizeof kContents, &written))
    return error;
  if (const os::SystemError error = os::FlushFile(handle_)) return error;
  if (const os::SystemError error = QuerySize(handle_, size_)) return error;
  return size_ != 0 ? os::kSuccess : os::kErrorDiskFull;
}

// The file, open and not empty. Left open after a failure it would refuse the next attempt itself.
os::SystemError LockFile::Obtain() {
  os::SystemError error = Open();
  if (error != os::kSuccess) return error;
  error = WriteContents();
  if (error != os::kSuccess) os::CloseFile(std::exchange(handle_, os::File::kNone));
  return error;
}

bool LockFile::Lock(bool exclusive) {
  if (state_ != State::kBound) return state_ == State::kHeld;
  os::SystemError error = os::kErrorInvalidParameter;
  for (unsigned attempt = 0; attempt < attempts_; ++attempt) {
    if (attempt != 0) os::SleepMilliseconds(pauseMs_);
    error = Obtain();
    if (error == os::kSuccess || EndsAttempts(error)) break;
  }
  // Whoever has the file open has it to himself; a range that cannot be locked then is not for waiting.
  if (error == os::kSuccess && exclusive) {
    error = os::LockRange(handle_, RangeLength(size_));
    if (error != os::kSuccess) os::CloseFile(std::exchange(handle_, os::File::kNone));
  }
  if (error == os::kSuccess) {
    exclusive_ = exclusive;
    state_ = State::kHeld;
    return true;
  }
  TraceFailure("Could not obtain lock \"%s\": %s.", name_, error);
  os::SetLastSystemError(error);
  return false;
}

bool LockFile::Release() {
  if (state_ != State::kHeld) return true;
  os::SystemError error = exclusive_ ? os::UnlockRange(handle_, RangeLength(size_)) : os::kSuccess;
  const os::SystemError closing = os::CloseFile(std::exchange(handle_, os::File::kNone));
  state_ = State::kBound;
  if (error == os::kSuccess) error = closing;
  if (error == os::kSuccess) return true;
  TraceFailure("Could not release lock \"%s\": %s.", name_, error);
  os::SetLastSystemError(error);
  return false;
}

}  // namespace du
