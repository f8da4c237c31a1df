#include "lmkutils/text/hash.h"

namespace du {
namespace {

inline std::uint32_t Step(std::uint32_t hash, char byte) noexcept {
  // Plain char differs by target; the cast through signed char sign-extends everywhere.
  const auto value = static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(byte)));
  hash = (hash << 4) + value;
  const std::uint32_t high = hash & 0xF0000000u;
  return hash ^ (high >> 24) ^ high;  // nothing changes when high is 0
}

}  // namespace

std::uint32_t ElfHash(const char* text) noexcept {
  std::uint32_t hash = 0;
  if (text != nullptr) {
    for (; *text != '\0'; ++text) hash = Step(hash, *text);
  }
  return hash;
}

std::uint32_t ElfHash(const char* bytes, std::size_t count) noexcept {
  std::uint32_t hash = 0;
  for (std::size_t i = 0; i < count; ++i) hash = Step(hash, bytes[i]);
  return hash;
}

}  // namespace du
