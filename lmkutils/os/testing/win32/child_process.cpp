#include "lmkutils/os/testing/child_process.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>

#include <utf8.h>
#include <windows.h>

namespace os::testing {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": system error " + std::to_string(GetLastError()));
}

std::wstring Wide(const std::string& text) {
  std::wstring wide;
  utf8::utf8to16(text.begin(), text.end(), std::back_inserter(wide));
  return wide;
}

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

struct Pipe {
  Handle readEnd;
  Handle writeEnd;

  Pipe() {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE from = nullptr;
    HANDLE to = nullptr;
    if (!CreatePipe(&from, &to, &inheritable, 1U << 16)) Fail("CreatePipe");
    readEnd.reset(from);
    writeEnd.reset(to);
    SetHandleInformation(from, HANDLE_FLAG_INHERIT, 0);
  }
};

// Reads what is there now; false when there was nothing.
bool ReadSome(HANDLE pipe, std::string& to) {
  std::array<char, 65536> buffer;
  DWORD there = 0;
  DWORD got = 0;
  if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &there, nullptr) || there == 0) return false;
  if (!ReadFile(pipe, buffer.data(), static_cast<DWORD>(buffer.size()), &got, nullptr)) return false;
  to.append(buffer.data(), got);
  return got > 0;
}

// Quotes as CommandLineToArgvW and the C run-time undo it: backslashes count only before a quote.
std::wstring Quoted(const std::wstring& arg) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : arg) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L"\"";
}

struct LessIgnoringCase {
  bool operator()(const std::wstring& a, const std::wstring& b) const {
    return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()),
                                TRUE) == CSTR_LESS_THAN;
  }
};

std::wstring MergedEnvironment(const Environment& changes) {
  std::map<std::wstring, std::wstring, LessIgnoringCase> settings;
  wchar_t* const block = GetEnvironmentStringsW();
  for (const wchar_t* entry = block; *entry != 0; entry += std::wstring_view(entry).size() + 1) {
    const std::wstring_view text(entry);
    const std::size_t equals = text.find(L'=', 1);  // hidden ones begin with '='
    if (equals != text.npos) settings[std::wstring(text.substr(0, equals))] = text.substr(equals + 1);
  }
  FreeEnvironmentStringsW(block);
  for (const auto& [name, value] : changes) {
    settings.erase(Wide(name));
    if (!value.empty()) settings[Wide(name)] = Wide(value);
  }
  std::wstring merged;
  for (const auto& [name, value] : settings)
    merged.append(name).append(1, L'=').append(value).append(1, L'\0');
  return merged.append(1, L'\0');
}

// Hands exactly these handles to the child, so that children of parallel tests do not keep each other's pipes
// open.
class InheritedHandles {
 public:
  explicit InheritedHandles(std::array<HANDLE, 3> handles) : handles_(handles) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    storage_ = std::make_unique<char[]>(size);
    if (!InitializeProcThreadAttributeList(List(), 1, 0, &size)) Fail("InitializeProcThreadAttributeList");
    if (!UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                   sizeof handles_, nullptr, nullptr)) {
      Fail("UpdateProcThreadAttribute");
    }
  }
  InheritedHandles(const InheritedHandles&) = delete;
  InheritedHandles& operator=(const InheritedHandles&) = delete;
  ~InheritedHandles() { DeleteProcThreadAttributeList(List()); }
  LPPROC_THREAD_ATTRIBUTE_LIST List() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage_.get());
  }

 private:
  std::array<HANDLE, 3> handles_;
  std::unique_ptr<char[]> storage_;
};

Handle Spawn(const std::vector<std::string>& args, const Environment& environment, HANDLE out, HANDLE err) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  const Handle in(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                              OPEN_EXISTING, 0, nullptr));
  InheritedHandles inherited({in.get(), out, err});
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = in.get();
  startup.StartupInfo.hStdOutput = out;
  startup.StartupInfo.hStdError = err;
  startup.lpAttributeList = inherited.List();
  std::wstring commandLine;
  for (const std::string& arg : args) commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(Wide(arg));
  std::wstring block = MergedEnvironment(environment);
  PROCESS_INFORMATION process{};
  const auto create = [&] {
    return CreateProcessW(Wide(args.at(0)).c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                          CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT, block.data(), nullptr,
                          &startup.StartupInfo, &process) != FALSE;
  };
  bool created = create();
  // Wine loses one process in some ten thousand before its first instruction, and reports it so.
  for (int again = 0; !created && GetLastError() == ERROR_INTERNAL_ERROR && again < 2; ++again)
    created = create();
  if (!created) Fail(args[0]);
  CloseHandle(process.hThread);
  return Handle(process.hProcess);
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& args, const Environment& environment,
                     std::chrono::milliseconds limit) {
  Pipe out;
  Pipe err;
  const Clock::time_point end = Clock::now() + limit;
  const Handle child = Spawn(args, environment, out.writeEnd.get(), err.writeEnd.get());
  out.writeEnd.reset();
  err.writeEnd.reset();
  ChildResult result;
  bool more = true;
  for (bool ended = false; more || !ended;) {
    ended = ended || WaitForSingleObject(child.get(), more ? 0 : 2) == WAIT_OBJECT_0;
    const bool moreOut = ReadSome(out.readEnd.get(), result.out);
    more = ReadSome(err.readEnd.get(), result.err) || moreOut;
    if (Clock::now() < end || ended) continue;
    result.timedOut = true;
    TerminateProcess(child.get(), 1);
    WaitForSingleObject(child.get(), INFINITE);
    break;
  }
  DWORD code = 0;
  GetExitCodeProcess(child.get(), &code);
  constexpr DWORD kAbort = 3;  // what the C run-time's abort returns
  result.crashed = !result.timedOut && (code == kAbort || code >= 0xC0000000U);
  result.exitCode = static_cast<int>(static_cast<std::int32_t>(code));
  return result;
}

std::string SelfPath() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  std::string narrow;
  utf8::utf16to8(path.begin(), path.end(), std::back_inserter(narrow));
  return narrow;
}

}  // namespace os::testing
