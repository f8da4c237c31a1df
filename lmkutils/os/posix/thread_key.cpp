#include "lmkutils/os/thread_key.h"

#include <pthread.h>

namespace os {
namespace {

// What is not a key becomes a number beyond all keys, which the C library refuses.
pthread_key_t Native(int key) noexcept {
  return static_cast<pthread_key_t>(key);
}

int Create(ThreadExitCallback callback) noexcept {
  pthread_key_t key;
  return pthread_key_create(&key, callback) == 0 ? static_cast<int>(key) : kNoThreadKey;
}

}  // namespace

int ThreadKeyCreate() noexcept {
  return Create(nullptr);
}

bool ThreadKeyDelete(int key) noexcept {
  return pthread_key_delete(Native(key)) == 0;
}

void* ThreadKeyGet(int key) noexcept {
  return pthread_getspecific(Native(key));
}

bool ThreadKeySet(int key, void* value) noexcept {
  return pthread_setspecific(Native(key), value) == 0;
}

int ThreadExitKeyCreate(ThreadExitCallback callback) noexcept {
  return Create(callback);
}

bool ThreadExitKeyDelete(int key) noexcept {
  return ThreadKeyDelete(key);
}

void* ThreadExitKeyGet(int key) noexcept {
  return ThreadKeyGet(key);
}

bool ThreadExitKeySet(int key, void* value) noexcept {
  return ThreadKeySet(key, value);
}

}  // namespace os
