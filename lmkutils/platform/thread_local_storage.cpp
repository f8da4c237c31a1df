#include "lmkutils/platform/thread_local_storage.h"

#include "lmkutils/os/thread_key.h"

namespace dp {

int ThreadLocalStorage::AllocKey() noexcept {
  return os::ThreadKeyCreate();
}

bool ThreadLocalStorage::FreeKey(int key) noexcept {
  return os::ThreadKeyDelete(key);
}

void* ThreadLocalStorage::GetValue(int key) noexcept {
  return os::ThreadKeyGet(key);
}

bool ThreadLocalStorage::SetValue(int key, void* value) noexcept {
  return os::ThreadKeySet(key, value);
}

}  // namespace dp
