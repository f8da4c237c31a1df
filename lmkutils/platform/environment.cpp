#include "lmkutils/platform/environment.h"

#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <utf8.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/environment.h"

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

// Strict, and forgiving, conversions.
std::optional<std::wstring> Widen(std::string_view text) {
  if (!utf8::is_valid(text.begin(), text.end())) return std::nullopt;
  std::wstring wide;
  if constexpr (sizeof(wchar_t) == 2) {
    utf8::utf8to16(text.begin(), text.end(), std::back_inserter(wide));
  } else {
    utf8::utf8to32(text.begin(), text.end(), std::back_inserter(wide));
  }
  return wide;
}

std::wstring WidenForgiving(const std::string& text) {
  std::string valid;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
  return *Widen(valid);
}

std::optional<std::string> Narrow(std::wstring_view text) {
  std::string narrow;
  try {
    if constexpr (sizeof(wchar_t) == 2) {
      utf8::utf16to8(text.begin(), text.end(), std::back_inserter(narrow));
    } else {
      utf8::utf32to8(text.begin(), text.end(), std::back_inserter(narrow));
    }
  } catch (const utf8::exception&) {
    return std::nullopt;
  }
  return narrow;
}

std::string NarrowForgiving(const std::wstring& text) {
  std::string narrow;
  for (std::size_t at = 0; at < text.size();) {
    const bool isPair = sizeof(wchar_t) == 2 && text.size() - at > 1 && Narrow({&text[at], 2}).has_value() &&
                        !Narrow({&text[at], 1}).has_value();
    const std::size_t length = isPair ? 2 : 1;
    narrow += Narrow({&text[at], length}).value_or("\xEF\xBF\xBD");
    at += length;
  }
  return narrow;
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
  return narrow ? WidenForgiving(Read(narrow->c_str())) : std::wstring();
}

std::string Environment::Get(const std::string& name) {
  return Get(name.c_str());
}

std::string Environment::Get(const char* name) {
  if (name == nullptr || *name == '\0') FailGetName();
  const std::optional<std::wstring> wide = Widen(name);
  if (!wide) return {};
  return os::GetCapabilities().environmentIsWide ? NarrowForgiving(Read(wide->c_str())) : Read(name);
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
  const std::optional<std::wstring> wideName = Widen(name);
  const std::optional<std::wstring> wideValue = Widen(text);
  if (!wideName || !wideValue) FailPut();
  if (os::GetCapabilities().environmentIsWide) return Write(wideName->c_str(), wideValue->c_str());
  Write(name, text);
}

bool Environment::Test(const char* name) {
  return name != nullptr && *name != '\0' && os::ReadVariable(name, static_cast<char*>(nullptr), 0) != 0;
}

}  // namespace dp
