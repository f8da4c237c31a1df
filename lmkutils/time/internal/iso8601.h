// Reading instants written by ISO 8601.
#ifndef LMKUTILS_TIME_INTERNAL_ISO8601_H
#define LMKUTILS_TIME_INTERNAL_ISO8601_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace du::internal {

// Seconds since 1970, rounded down; nothing when the text is not of the forms that Time::SetToISO8601 lists.
std::optional<std::int64_t> ParseISO8601(std::string_view text) noexcept;

}  // namespace du::internal

#endif
