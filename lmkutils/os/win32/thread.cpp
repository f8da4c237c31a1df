#include "lmkutils/os/thread.h"

#include <atomic>
#include <iterator>
#include <new>

#include <locale.h>
#include <windows.h>

#include "lmkutils/os/memory.h"

namespace os {

struct Thread {
  HANDLE handle;
  DWORD id;
};

namespace {

// What the new thread takes over from its creator, and frees.
struct Launch {
  ThreadEntry entry;
  void* argument;
};

DWORD WINAPI RunThread(void* argument) noexcept {
  const Launch launch = *static_cast<Launch*>(argument);
  HeapFree(argument);
  _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
  launch.entry(launch.argument);
  return 0;
}

constexpr DWORD kThreadNameException = 0x406D1388;

// The record that debuggers expect with that exception.
#pragma pack(push, 8)
struct ThreadNameRecord {
  DWORD type;
  const char* name;
  DWORD threadId;
  DWORD flags;
};
#pragma pack(pop)

LONG CALLBACK SwallowThreadName(EXCEPTION_POINTERS* exception) noexcept {
  return exception->ExceptionRecord->ExceptionCode == kThreadNameException ? EXCEPTION_CONTINUE_EXECUTION
                                                                           : EXCEPTION_CONTINUE_SEARCH;
}

// A vectored handler, since frame-based ones are not to be had in the same way from all compilers.
void NameForDebuggers(DWORD threadId, const char* name) noexcept {
  void* const handler = AddVectoredExceptionHandler(1, SwallowThreadName);
  if (handler == nullptr) return;  // unhandled, the exception would end the process
  const ThreadNameRecord record{0x1000, name, threadId, 0};
  RaiseException(kThreadNameException, 0, sizeof(record) / sizeof(ULONG_PTR),
                 reinterpret_cast<const ULONG_PTR*>(&record));
  RemoveVectoredExceptionHandler(handler);
}

}  // namespace

SystemError ThreadStart(const ThreadRequest& request, Thread** thread) noexcept {
  *thread = nullptr;
  void* const cell = HeapAllocate(sizeof(Thread));
  void* const launch = HeapAllocate(sizeof(Launch));
  SystemError error = kErrorNotEnoughMemory;
  if (cell != nullptr && launch != nullptr) {
    Thread* const created = new (cell) Thread{};
    new (launch) Launch{request.entry, request.argument};
    created->handle = CreateThread(nullptr, request.stackSize, RunThread, launch,
                                   STACK_SIZE_PARAM_IS_A_RESERVATION, &created->id);
    if (created->handle != nullptr) {
      if (request.name != nullptr && *request.name != '\0') NameForDebuggers(created->id, request.name);
      *thread = created;
      return kSuccess;
    }
    error = GetLastError();
  }
  HeapFree(launch);
  HeapFree(cell);
  return error;
}

bool ThreadWait(Thread* thread, std::uint32_t milliseconds) noexcept {
  return WaitForSingleObject(thread->handle, milliseconds) != WAIT_TIMEOUT;
}

void ThreadClose(Thread* thread) noexcept {
  if (thread == nullptr) return;
  CloseHandle(thread->handle);
  HeapFree(thread);
}

std::uint32_t CurrentThreadId() noexcept {
  return GetCurrentThreadId();
}

std::uintptr_t CurrentThreadToken() noexcept {
  return GetCurrentThreadId();
}

void YieldThread() noexcept {
  SwitchToThread();
}

void PauseProcessor() noexcept {
  YieldProcessor();
}

bool OtherThreadsKilled() noexcept {
  using Question = BOOLEAN(WINAPI*)();
  // Not by the guard of a local static: a killed thread might hold that.
  static constinit std::atomic<Question> known{nullptr};
  Question question = known.load(std::memory_order_relaxed);
  if (question == nullptr) {
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const FARPROC found = ntdll ? GetProcAddress(ntdll, "RtlDllShutdownInProgress") : nullptr;
    if (found == nullptr) return false;
    question = reinterpret_cast<Question>(reinterpret_cast<void*>(found));
    known.store(question, std::memory_order_relaxed);
  }
  return question() != FALSE;
}

// The handlers of a shared library run after the other threads' end.
bool OtherThreadsRun() noexcept {
  return false;
}

}  // namespace os
