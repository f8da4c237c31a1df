// One pointer a thread, read by the cheapest means of the target: for what stands in front of every
// allocation.
#ifndef LMKUTILS_OS_FAST_THREAD_POINTER_H
#define LMKUTILS_OS_FAST_THREAD_POINTER_H

// Defines, inline, in namespace os:
//   void* FastThreadPointerGet() noexcept;             null on a thread that has not set it; leaves errno and
//                                                      the last error alone
//   bool FastThreadPointerSet(void* value) noexcept;   false when the system has no room for it
#include "lmkutils_face/fast_thread_pointer_face.h"

#endif
