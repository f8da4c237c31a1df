// FileSystem: characters and names that file systems refuse.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/files/internal/path_text.h"

namespace du {
namespace {

constexpr char kReplacement = '_';
constexpr std::string_view kForbidden = "\\/:*?\"<>|";

bool IsForbidden(char c) noexcept {
  return kForbidden.find(c) != std::string_view::npos;
}

bool HasForbidden(std::string_view name) noexcept {
  return std::any_of(name.begin(), name.end(), IsForbidden);
}

bool IsControl(char c) noexcept {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// Calls `change` with each part of the path between drive and separators, or with the whole when the text is
// one name.
template <class Change>
std::string ChangeNames(const std::string& text, bool keepSeparators, Change change) {
  if (!keepSeparators) return change(text);
  const std::size_t start = internal::StartsWithDriveLetter(text.c_str()) ? 2 : 0;
  std::string result = text.substr(0, start);
  for (std::size_t at = start;;) {
    const std::size_t end = std::min(text.find_first_of(internal::kSeparators, at), text.size());
    result += change(text.substr(at, end - at));
    if (end == text.size()) return result;
    result += text[end];
    at = end + 1;
  }
}

std::string WithoutForbidden(std::string name) {
  std::replace_if(name.begin(), name.end(), IsForbidden, kReplacement);
  return name;
}

std::string UpperCase(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

// "COM" and "LPT" go with a digit, and three of the digits also raised.
bool IsNumberedDevice(const std::string& name) {
  constexpr std::array<std::string_view, 3> kRaised = {"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};
  if (!name.starts_with("COM") && !name.starts_with("LPT")) return false;
  const std::string_view number = std::string_view(name).substr(3);
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
         std::find(kRaised.begin(), kRaised.end(), number) != kRaised.end();
}

bool IsDevice(const std::string& name) {
  constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
  return std::find(kDevices.begin(), kDevices.end(), name) != kDevices.end() || IsNumberedDevice(name);
}

// A device is one whatever follows a '.', and with blanks before that.
void ChangeDevice(std::string& name) {
  const std::string stem = name.substr(0, name.find(FileSpec::EXT_SEP_CHAR));
  const std::size_t length = stem.find_last_not_of(' ') + 1;
  if (IsDevice(UpperCase(stem.substr(0, length)))) name.insert(length, 1, kReplacement);
}

std::string WithoutReserved(std::string name) {
  std::replace_if(name.begin(), name.end(), IsControl, kReplacement);
  name = WithoutForbidden(std::move(name));
  if (name.ends_with('.') || name.ends_with(' ')) name.back() = kReplacement;
  ChangeDevice(name);
  return name;
}

}  // namespace

bool FileSystem::ContainsForbiddenChars(const std::string& name) {
  return HasForbidden(name);
}

bool FileSystem::ContainsForbiddenChars(const FileSpec& spec) {
  std::string file;
  spec.GetFile(&file);
  return HasForbidden(file) || std::any_of(spec.DirBegin(), spec.DirEnd(), HasForbidden);
}

std::string FileSystem::RemoveForbiddenChars(const std::string& name, char replacement) {
  std::string result = name;
  if (replacement == '\0') {
    std::erase_if(result, IsForbidden);
  } else {
    std::replace_if(result.begin(), result.end(), IsForbidden, replacement);
  }
  return result;
}

std::string FileSystem::ReplaceForbiddenChars(const std::string& name, bool keepSeparators) {
  return ChangeNames(name, keepSeparators, WithoutForbidden);
}

std::string FileSystem::ReplaceReservedChars(const std::string& name, bool keepSeparators) {
  return ChangeNames(name, keepSeparators, [keepSeparators](std::string part) {
    const bool isStep = keepSeparators && (part == "." || part == "..");
    return isStep ? part : WithoutReserved(std::move(part));
  });
}

}  // namespace du
