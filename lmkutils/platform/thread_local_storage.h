// dp::ThreadLocalStorage: raw thread-local keys.
#ifndef LMKUTILS_PLATFORM_THREAD_LOCAL_STORAGE_H
#define LMKUTILS_PLATFORM_THREAD_LOCAL_STORAGE_H

#include "lmkutils/export.h"

namespace dp {

// One pointer a thread and key. Keys are the system's and few (about a thousand a process): give them back.
// Nothing is called or freed at a thread's end. Any thread may call anything; errno and the last error stay
// as they are. A key that was given back must not be used any more: not every system notices.
class LMK_API ThreadLocalStorage {
 public:
  ThreadLocalStorage() = delete;

  // A key whose value is null on every thread; -1 when the system has no more.
  [[nodiscard]] static int AllocKey() noexcept;

  // False for what is not a key.
  static bool FreeKey(int key) noexcept;

  // The calling thread's value; null for what is not a key.
  [[nodiscard]] static void* GetValue(int key) noexcept;

  // False for what is not a key and when there is no memory.
  static bool SetValue(int key, void* value) noexcept;
};

}  // namespace dp

#endif
