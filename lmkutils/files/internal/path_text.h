// Small steps on the text of paths. Both separators count everywhere.
#ifndef LMKUTILS_FILES_INTERNAL_PATH_TEXT_H
#define LMKUTILS_FILES_INTERNAL_PATH_TEXT_H

#include <string>
#include <string_view>

#include "lmkutils/files/file_spec.h"

namespace du::internal {

inline constexpr std::string_view kSeparators = "\\/";

inline bool StartsWithSeparator(std::string_view path) noexcept {
  return !path.empty() && FileSpec::IsDirSeparator(path.front());
}

inline bool EndsInSeparator(std::string_view path) noexcept {
  return !path.empty() && FileSpec::IsDirSeparator(path.back());
}

// A path that the long form would spoil: one of a server, and what begins with "\\?\" or "\\.\" already.
bool IsUncPath(std::string_view path) noexcept;

// With the separators that the system's own paths have.
std::string InSystemSeparators(std::string path);

// An absolute path without its "." and ".."; those that lead above the root are dropped, as the system does.
// Nothing else of the text changes.
std::string WithoutDots(const std::string& path);

// The part up to the last separator, "." for a path without one.
std::string FolderOf(const std::string& path);

// Where the part after the last separator begins.
std::size_t LastNameStart(std::string_view path) noexcept;

}  // namespace du::internal

#endif
