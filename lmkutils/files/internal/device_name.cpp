#include "lmkutils/files/internal/device_name.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "lmkutils/files/file_spec.h"

namespace du::internal {
namespace {

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

}  // namespace

std::size_t DeviceLength(const std::string& name) {
  const std::string stem = name.substr(0, name.find(FileSpec::EXT_SEP_CHAR));
  const std::size_t length = stem.find_last_not_of(' ') + 1;
  return IsDevice(UpperCase(stem.substr(0, length))) ? length : 0;
}

}  // namespace du::internal
