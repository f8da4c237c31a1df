// How dp::LmInfo finds the installation.
#ifndef LMKUTILS_PLATFORM_INTERNAL_INSTALLATION_H
#define LMKUTILS_PLATFORM_INTERNAL_INSTALLATION_H

#include <string>
#include <string_view>

namespace dp::internal {

// Below the root, with the separators of neither target in particular.
inline constexpr std::string_view kDataDirectory = "share/lumora";

// The root for a library that was loaded from `modulePath`, a path in the system's form. Empty for an empty
// path.
std::string FindInstallationRoot(const std::string& modulePath);

// Whether a host application may name `path` as the root: absolute on this target, and without NUL bytes.
bool IsAcceptableRoot(const std::string& path) noexcept;

// `path` with the separators of the target and none at its end, roots excepted.
std::string InSystemForm(std::string path);

// `name` below `directory`, with the separators of the target; empty when `directory` is.
std::string PathBelow(const std::string& directory, std::string_view name);

}  // namespace dp::internal

#endif
