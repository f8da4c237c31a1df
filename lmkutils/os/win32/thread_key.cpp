#include "lmkutils/os/thread_key.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

#include <windows.h>

namespace os {
namespace {

static_assert(static_cast<DWORD>(kNoThreadKey) == TLS_OUT_OF_INDEXES &&
              TLS_OUT_OF_INDEXES == FLS_OUT_OF_INDEXES);

// A successful read sets the last error to 0. Saving errno as well, as os::SavedError does, would cost more
// than the read itself.
class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept : saved_(GetLastError()) {}
  ~LastErrorKeeper() { SetLastError(saved_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  const DWORD saved_;
};

// The system calls back with its own calling convention and hands over the value alone. So there is a fixed
// number of exit keys, each with a function of its own that knows where the library's callback stands.
constexpr std::size_t kExitKeys = 16;

struct ExitKey {
  std::atomic<bool> taken{false};
  std::atomic<DWORD> index{FLS_OUT_OF_INDEXES};
  std::atomic<ThreadExitCallback> callback{nullptr};
};
constinit std::array<ExitKey, kExitKeys> exitKeys;

template <std::size_t Number>
void WINAPI CallBack(void* value) {
  if (value == nullptr) return;
  if (const ThreadExitCallback callback = exitKeys[Number].callback) callback(value);
}

template <std::size_t... Numbers>
constexpr std::array<PFLS_CALLBACK_FUNCTION, kExitKeys> MakeCallBacks(
    std::index_sequence<Numbers...>) noexcept {
  return {CallBack<Numbers>...};
}
constexpr std::array<PFLS_CALLBACK_FUNCTION, kExitKeys> kCallBacks =
    MakeCallBacks(std::make_index_sequence<kExitKeys>());

DWORD IndexOf(int key) noexcept {
  const std::size_t number = static_cast<std::size_t>(key);
  return number < kExitKeys ? exitKeys[number].index.load() : FLS_OUT_OF_INDEXES;
}

}  // namespace

int ThreadKeyCreate() noexcept {
  return static_cast<int>(TlsAlloc());
}

bool ThreadKeyDelete(int key) noexcept {
  return TlsFree(static_cast<DWORD>(key)) != FALSE;
}

void* ThreadKeyGet(int key) noexcept {
  const LastErrorKeeper keeper;
  return TlsGetValue(static_cast<DWORD>(key));
}

bool ThreadKeySet(int key, void* value) noexcept {
  const LastErrorKeeper keeper;
  return TlsSetValue(static_cast<DWORD>(key), value) != FALSE;
}

int ThreadExitKeyCreate(ThreadExitCallback callback) noexcept {
  for (std::size_t number = 0; number < kExitKeys; ++number) {
    ExitKey& key = exitKeys[number];
    if (key.taken.exchange(true)) continue;
    key.callback = callback;
    key.index = FlsAlloc(kCallBacks[number]);
    if (key.index != FLS_OUT_OF_INDEXES) return static_cast<int>(number);
    key.taken = false;
    break;
  }
  return kNoThreadKey;
}

bool ThreadExitKeyDelete(int key) noexcept {
  const DWORD index = IndexOf(key);
  if (index == FLS_OUT_OF_INDEXES || FlsFree(index) == FALSE) return false;
  ExitKey& slot = exitKeys[static_cast<std::size_t>(key)];
  slot.index = FLS_OUT_OF_INDEXES;
  slot.callback = nullptr;
  slot.taken = false;
  return true;
}

void* ThreadExitKeyGet(int key) noexcept {
  const LastErrorKeeper keeper;
  const DWORD index = IndexOf(key);
  return index == FLS_OUT_OF_INDEXES ? nullptr : FlsGetValue(index);
}

bool ThreadExitKeySet(int key, void* value) noexcept {
  const LastErrorKeeper keeper;
  const DWORD index = IndexOf(key);
  return index != FLS_OUT_OF_INDEXES && FlsSetValue(index, value) != FALSE;
}

}  // namespace os
