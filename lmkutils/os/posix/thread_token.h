// The identity of the calling thread, inline for the sources of this folder.
#ifndef LMKUTILS_OS_POSIX_THREAD_TOKEN_H
#define LMKUTILS_OS_POSIX_THREAD_TOKEN_H

#include <cstdint>

namespace os {

// Only its address matters: different for each living thread, even, and the same in a child process. Of
// trivial type and part of the initial set of thread-local storage, so that taking the address is two
// instructions.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local std::uint64_t threadTokenStorage;

inline std::uintptr_t ThreadToken() noexcept {
  return reinterpret_cast<std::uintptr_t>(&threadTokenStorage);
}

}  // namespace os

#endif
