// Keeps the calling thread's error numbers over a scope.
#ifndef LMKUTILS_OS_SAVED_ERROR_H
#define LMKUTILS_OS_SAVED_ERROR_H

#include <cstdint>

namespace os {

// errno, and on Windows the system's last error as well: both are after the scope what they were before.
class SavedError {
 public:
  SavedError() noexcept;
  SavedError(const SavedError&) = delete;
  SavedError& operator=(const SavedError&) = delete;
  ~SavedError();

 private:
  const int errno_;
  [[maybe_unused]] const std::uint32_t lastError_;
};

}  // namespace os

#endif
