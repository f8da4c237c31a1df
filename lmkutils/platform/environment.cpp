#include "lmkutils/platform/environment.h"

#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/environment.h"
#include "lmkutils/text/encoding.h"

namespace dp {
namespace {

[[noreturn]] void FailGetName() {
  throw std::invalid_argument("dp::Environment::Get() expects name to be non-empty.");
}

[[noreturn]] void FailPutName() {
  throw std::invalid_argument("dp::Environment::Put() expects name to be non-empty.");
}

[[noreturn]] void FailPut() {
  throw std::runtime_error("dp::Environment::Put() failed to putenv().");
}

// Strict: nothing for what is not valid text.
std::optional<std::wstring> Widen(std::string_view text) {
  std::wstring wide;
  return du::ConvertText(text, wide) ? std::optional(std::move(wide)) : std::nullopt;
}

std::optional<std::string> Narrow(std::wstring_view text) {
  std::string narrow;
  return du::ConvertText(text, narrow) ? std::optional(std::move(narrow)) : std::nullopt;
}

// Another thread may change the variable between two calls, hence the loop; it may remove it as well, which
// shows as a size of 0 at any call.
template <class Char>
std::basic_string<Char> Read(const Char* name) {
  std::basic_string<Char> value;
  std::size_t size = os::ReadVariable(name, nullptr, 0);
  for (std::size_t made = 0; size != made;) {
    if (size == 0) return {};
    made = size;
    value.resize(made);
    size = os::ReadVariable(name, value.data(), made);
  }
  if (size == 0) return {};
  value.resize(size - 1);
  return value;
}

template <class Char>
void Write(const Char* name, const Char* value) {
  if (!os::WriteVariable(name, value)) FailPut();
}

}  // namespace

Environment& Environment::operator=(const Environment&) noexcept {
  return *this;
}

Environment& Environment::operator=(Environment&&) noexcept {
  return *this;
}

std::wstring Environment::Get(const std::wstring& name) {
  if (name.empty()) FailGetName();
  if (os::GetCapabilities().environmentIsWide) return Read(name.c_str());
  const std::optional<std::string> narrow = Narrow(name.c_str());
  return narrow ? du::ToWide(Read(narrow->c_str())) : std::wstring();
}

std::string Environment::Get(const std::string& name) {
  return Get(name.c_str());
}

std::string Environment::Get(const char* name) {
  if (name == nullptr || *name == '\0') FailGetName();
  if (!os::GetCapabilities().environmentIsWide) return du::CheckUtf8(name) ? Read(name) : std::string();
  const std::optional<std::wstring> wide = Widen(name);
  return wide ? du::ToUtf8(Read(wide->c_str())) : std::string();
}

void Environment::Put(const std::wstring& name, const std::wstring& value) {
  if (name.empty()) FailPutName();
  if (os::GetCapabilities().environmentIsWide) return Write(name.c_str(), value.c_str());
  const std::optional<std::string> narrowName = Narrow(name.c_str());
  const std::optional<std::string> narrowValue = Narrow(value.c_str());
  if (!narrowName || !narrowValue) FailPut();
  Write(narrowName->c_str(), narrowValue->c_str());
}

void Environment::Put(const std::string& name, const std::string& value) {
  Put(name.c_str(), value.c_str());
}

void Environment::Put(const char* name, const char* value) {
  if (name == nullptr || *name == '\0') FailPutName();
  const char* text = value == nullptr ? "" : value;
  if (!du::CheckUtf8(name) || !du::CheckUtf8(text)) FailPut();
  if (!os::GetCapabilities().environmentIsWide) return Write(name, text);
  Write(Widen(name)->c_str(), Widen(text)->c_str());
}

bool Environment::Test(const char* name) {
  return name != nullptr && *name != '\0' && os::ReadVariable(name, static_cast<char*>(nullptr), 0) != 0;
}

}  // namespace dp
