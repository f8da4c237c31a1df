// One pointer a thread and key. A fresh key reads as null on every thread, existing ones included.
//
// There are two kinds. Plain keys (TlsAlloc on Windows) are the cheaper to read. Exit keys (fiber-local
// storage on Windows) have a callback that runs at the end of each thread whose value is not null; the main
// thread gets none on Linux, and threads that the end of the process kills get none anywhere. On Linux both
// kinds are pthread keys. Reading and writing leave errno and the last error alone.
#ifndef LMKUTILS_OS_THREAD_KEY_H
#define LMKUTILS_OS_THREAD_KEY_H

namespace os {

inline constexpr int kNoThreadKey = -1;

int ThreadKeyCreate() noexcept;  // kNoThreadKey when the system has no more
bool ThreadKeyDelete(int key) noexcept;
void* ThreadKeyGet(int key) noexcept;  // null for what is not a key
bool ThreadKeySet(int key, void* value) noexcept;

using ThreadExitCallback = void (*)(void* value);  // must not throw

int ThreadExitKeyCreate(ThreadExitCallback callback) noexcept;

// No callback runs after this returns. Windows: runs the callback for each living thread's value, here.
// Linux: forgets the values.
bool ThreadExitKeyDelete(int key) noexcept;
void* ThreadExitKeyGet(int key) noexcept;
bool ThreadExitKeySet(int key, void* value) noexcept;

}  // namespace os

#endif
