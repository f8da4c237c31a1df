#include "lmkutils/os/fast_thread_pointer.h"

namespace os {

constinit thread_local void* fastThreadPointer = nullptr;

}  // namespace os
