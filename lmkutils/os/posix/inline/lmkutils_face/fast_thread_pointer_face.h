// A thread_local of the initial-exec model: one instruction, because its place relative to the thread's own
// block is fixed when the library is loaded. It takes 8 of the bytes that the C library keeps for libraries
// loaded late.
#ifndef LMKUTILS_OS_POSIX_FAST_THREAD_POINTER_FACE_H
#define LMKUTILS_OS_POSIX_FAST_THREAD_POINTER_FACE_H

namespace os {

extern __attribute__((tls_model("initial-exec"),
                      visibility("hidden"))) constinit thread_local void* fastThreadPointer;

inline void* FastThreadPointerGet() noexcept {
  return fastThreadPointer;
}

inline bool FastThreadPointerSet(void* value) noexcept {
  fastThreadPointer = value;
  return true;
}

}  // namespace os

#endif
