#include "lmkutils/files/internal/zip_name.h"

#include <algorithm>

#include "lmkutils/files/internal/device_name.h"
#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/zlib_stream.h"
#include "lmkutils/text/encoding.h"

namespace du::internal {
namespace {

constexpr char kDivider = '/';
constexpr std::uint16_t kUnicodePath = 0x7075;
constexpr char kUnicodePathVersion = 1;

// The upper half of code page 437.
constexpr char32_t kCodePage437[] =
    U"\u00C7\u00FC\u00E9\u00E2\u00E4\u00E0\u00E5\u00E7\u00EA\u00EB\u00E8\u00EF\u00EE\u00EC\u00C4\u00C5"
    U"\u00C9\u00E6\u00C6\u00F4\u00F6\u00F2\u00FB\u00F9\u00FF\u00D6\u00DC\u00A2\u00A3\u00A5\u20A7\u0192"
    U"\u00E1\u00ED\u00F3\u00FA\u00F1\u00D1\u00AA\u00BA\u00BF\u2310\u00AC\u00BD\u00BC\u00A1\u00AB\u00BB"
    U"\u2591\u2592\u2593\u2502\u2524\u2561\u2562\u2556\u2555\u2563\u2551\u2557\u255D\u255C\u255B\u2510"
    U"\u2514\u2534\u252C\u251C\u2500\u253C\u255E\u255F\u255A\u2554\u2569\u2566\u2560\u2550\u256C\u2567"
    U"\u2568\u2564\u2565\u2559\u2558\u2552\u2553\u256B\u256A\u2518\u250C\u2588\u2584\u258C\u2590\u2580"
    U"\u03B1\u00DF\u0393\u03C0\u03A3\u03C3\u00B5\u03C4\u03A6\u0398\u03A9\u03B4\u221E\u03C6\u03B5\u2229"
    U"\u2261\u00B1\u2265\u2264\u2320\u2321\u00F7\u2248\u00B0\u2219\u00B7\u221A\u207F\u00B2\u25A0\u00A0";
static_assert(sizeof kCodePage437 == 129 * sizeof(char32_t));

// Calls `look` with each part between dividers; false as soon as that gives false.
template <class Look>
bool ForEachPart(std::string_view name, Look look) {
  for (;;) {
    const std::size_t end = std::min(name.find(kDivider), name.size());
    if (!look(name.substr(0, end))) return false;
    if (end == name.size()) return true;
    name.remove_prefix(end + 1);
  }
}

std::string FromCodePage437(std::string_view name) {
  std::u32string text;
  text.reserve(name.size());
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    text += byte < 0x80 ? char32_t{byte} : kCodePage437[byte - 0x80];
  }
  return ToUtf8(text);
}

std::uint32_t Number(std::string_view bytes) noexcept {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

// The field holds its version, the checksum of the name that it stands for, and that in UTF-8.
bool FindUnicodePath(std::string_view name, std::string_view extra, std::string_view* text) noexcept {
  std::string_view field;
  if (!FindExtraField(extra, kUnicodePath, &field) || field.size() < 5 || field[0] != kUnicodePathVersion)
    return false;
  const uLong checksum =
      crc32(0, reinterpret_cast<const Bytef*>(name.data()), static_cast<uInt>(name.size()));
  *text = field.substr(5);
  return Number(field.substr(1, 4)) == checksum && CheckUtf8(*text);
}

bool IsAscii(std::string_view name) noexcept {
  return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool IsSafePart(const std::string& part) {
  return part != ".." && part.find_first_of(std::string_view("\0:", 2)) == std::string::npos &&
         !part.ends_with('.') && !part.ends_with(' ') && DeviceLength(part) == 0;
}

}  // namespace

bool FindExtraField(std::string_view extra, std::uint16_t id, std::string_view* field) noexcept {
  constexpr std::size_t kHeader = 4;
  while (extra.size() >= kHeader) {
    const std::size_t size = Number(extra.substr(2, 2));
    if (size > extra.size() - kHeader) return false;
    *field = extra.substr(kHeader, size);
    if (Number(extra.substr(0, 2)) == id) return true;
    extra.remove_prefix(kHeader + size);
  }
  return false;
}

bool IsMemberName(std::string_view name) noexcept {
  if (name.size() > kLongestMemberName || !CheckUtf8(name)) return false;
  if (name.find_first_of(std::string_view("\0\\", 2)) != std::string_view::npos) return false;
  const char start[] = {name.empty() ? '\0' : name[0], name.size() < 2 ? '\0' : name[1], '\0'};
  if (StartsWithDriveLetter(start)) return false;
  if (name.ends_with(kDivider)) name.remove_suffix(1);
  return ForEachPart(name,
                     [](std::string_view part) { return !part.empty() && part != "." && part != ".."; });
}

std::string DecodeMemberName(std::string_view name, ZipNameEncoding encoding, std::string_view extra) {
  std::string text;
  std::string_view unicode;
  if (encoding != ZipNameEncoding::kUtf8 && !IsAscii(name) && FindUnicodePath(name, extra, &unicode)) {
    text = unicode;
  } else if (IsAscii(name) || (encoding != ZipNameEncoding::kOem && CheckUtf8(name))) {
    text = name;
  } else {
    text = FromCodePage437(name);
  }
  std::replace(text.begin(), text.end(), '\\', kDivider);
  return text;
}

bool SplitMemberName(std::string_view name, std::vector<std::string>* parts) {
  parts->clear();
  if (StartsWithSeparator(name)) return false;
  return ForEachPart(name,
                     [parts](std::string_view part) {
                       if (part.empty() || part == ".") return true;
                       parts->emplace_back(part);
                       return IsSafePart(parts->back());
                     }) &&
         (!parts->empty() || name.ends_with(kDivider));
}

}  // namespace du::internal
