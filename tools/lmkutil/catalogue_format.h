// What writing and reading of catalogues share; docs/catalogue.md explains it.
#ifndef LMKUTIL_CATALOGUE_FORMAT_H
#define LMKUTIL_CATALOGUE_FORMAT_H

#include <string_view>

namespace lmkutil::catalogue {

inline constexpr int kEndian = 0;  // little
inline constexpr std::string_view kMagic = "LMKCAT\r\n";
inline constexpr int kVersion = 1;

enum BlockKind : int { kEnd = 0, kRecords = 1 };

}  // namespace lmkutil::catalogue

#endif
