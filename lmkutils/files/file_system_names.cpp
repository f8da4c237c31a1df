// FileSystem: characters and names that file systems refuse.
#include <algorithm>
#include <string>
#include <string_view>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/device_name.h"
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

std::string WithoutReserved(std::string name) {
  std::replace_if(name.begin(), name.end(), IsControl, kReplacement);
  name = WithoutForbidden(std::move(name));
  if (name.ends_with('.') || name.ends_with(' ')) name.back() = kReplacement;
  if (const std::size_t length = internal::DeviceLength(name)) name.insert(length, 1, kReplacement);
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
