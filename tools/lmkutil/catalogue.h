// The file in which "catalog" keeps what it noted of a folder. docs/catalogue.md has its format.
#ifndef LMKUTIL_CATALOGUE_H
#define LMKUTIL_CATALOGUE_H

#include <array>
#include <string>

#include "lmkutils/data/dbase.h"

namespace lmkutil {

// The names of a record's attributes. Not every file has all of them.
namespace attribute {
inline constexpr char kPath[] = "path";            // absolute, with the separators of the target
inline constexpr char kDirectory[] = "directory";  // the same without the file's name
inline constexpr char kName[] = "name";
inline constexpr char kExtension[] = "extension";  // without the '.', and without the version
inline constexpr char kVersion[] = "version";      // the number behind the extension: 12 in "gear.prt.12"
inline constexpr char kSize[] = "size";            // bytes, decimal
inline constexpr char kTime[] = "time";            // of the last change: 2026-11-17T09:05:07Z
inline constexpr char kKind[] = "kind";            // one of the texts below
inline constexpr char kCrc32[] = "crc32";          // of the bytes, as in RFC 1952: eight digits, 0-9 A-F
inline constexpr std::array kAll{kPath, kDirectory, kName, kExtension, kVersion, kSize, kTime, kKind, kCrc32};
}  // namespace attribute

namespace kind {
inline constexpr char kBinary[] = "binary";
inline constexpr char kText[] = "text";  // no byte of 128 or more
inline constexpr char kStructure[] = "product structure";
}  // namespace kind

enum class Saving { kDone, kFailed, kInterrupted };

// Writes all records to a file (UTF-8 path), which is replaced in one step when all of it is written and is
// what it was before otherwise. Gives up when the program is interrupted. Throws std::bad_alloc.
Saving SaveCatalogue(const std::string& path, const du::Dbase& records);

// Makes the records those of a file. Null; or, when the file cannot be read or is not as it should be, the
// tag of the text that says so, with the path as its argument, and no records. The bytes of the file may be
// any.
[[nodiscard]] const char* LoadCatalogue(const std::string& path, du::Dbase& records);

}  // namespace lmkutil

#endif
