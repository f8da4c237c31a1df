// Names of the members of an archive.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_NAME_H
#define LMKUTILS_FILES_INTERNAL_ZIP_NAME_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace du::internal {

inline constexpr std::size_t kLongestMemberName = 0xFFFF;  // the format has 16 bits for it

// Whether a member may be written under this name: UTF-8, relative, parts that are divided by single '/' and
// are neither "." nor "..", no '\', NUL or drive. A directory's ends in '/'.
bool IsMemberName(std::string_view name) noexcept;

// What a header says of the encoding of its name.
enum class ZipNameEncoding {
  kUtf8,     // flagged so
  kUnknown,  // and made on a system that has files named in UTF-8
  kOem,
};

// The name in UTF-8, with '/' alone between its parts, of what stands in a header and its extra fields.
// Unless it is flagged as UTF-8 a Unicode Path field (APPNOTE.TXT, section 4.6.9) counts if it was made for
// this very name. All others are in code page 437, also what is flagged and no
// UTF-8, but where the encoding is unknown and it could be UTF-8: zip on Linux sets no flag.
std::string DecodeMemberName(std::string_view name, ZipNameEncoding encoding, std::string_view extra);

// The parts of a name on the way down from a directory; "." and empty ones are left out, so that there are
// none in "./". A directory's name has its last part as any other. False when it would lead out of the
// directory, or means something else than a file on any of the targets: absolute, "..", a drive, NUL or ':',
// a device, a '.' or blank at the end of a part.
bool SplitMemberName(std::string_view name, std::vector<std::string>* parts);

// Finds a field among the extra fields of a header; false when it is not there, or they are damaged before.
bool FindExtraField(std::string_view extra, std::uint16_t id, std::string_view* field) noexcept;

}  // namespace du::internal

#endif
