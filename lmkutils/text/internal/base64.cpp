#include "lmkutils/text/internal/base64.h"

#include <cstddef>
#include <cstdint>

namespace du::internal {
namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kBytesOfGroup = 3;
constexpr std::size_t kDigitsOfGroup = 4;

// Writes four digits for up to three bytes; missing ones count as 0.
void EncodeGroup(std::string_view bytes, char* out) noexcept {
  std::uint32_t group = 0;
  for (std::size_t i = 0; i < kBytesOfGroup; ++i) {
    group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
  }
  for (std::size_t i = kDigitsOfGroup; i-- > 0; group >>= 6) out[i] = kDigits[group & 0x3F];
}

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  std::string text((bytes.size() + kBytesOfGroup - 1) / kBytesOfGroup * kDigitsOfGroup, '=');
  char* out = text.data();
  for (; bytes.size() >= kBytesOfGroup; bytes.remove_prefix(kBytesOfGroup), out += kDigitsOfGroup) {
    EncodeGroup(bytes.substr(0, kBytesOfGroup), out);
  }
  if (bytes.empty()) return text;
  EncodeGroup(bytes, out);
  for (std::size_t i = bytes.size() + 1; i < kDigitsOfGroup; ++i) out[i] = '=';
  return text;
}

}  // namespace du::internal
