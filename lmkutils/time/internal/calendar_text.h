// strftime, alike on every target.
#ifndef LMKUTILS_TIME_INTERNAL_CALENDAR_TEXT_H
#define LMKUTILS_TIME_INTERNAL_CALENDAR_TEXT_H

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace du::internal {

// The calendar fields by a strftime format with the conversions of C99. The run-times differ in the ones that
// they know, and may end the process over others; hence only names, which depend on locale and zone, are left
// to them. What is no conversion is copied as it stands. `offset`: seconds that these fields are ahead of
// UTC.
std::string FormatCalendar(std::string_view format, const std::tm& fields, std::int64_t offset);

}  // namespace du::internal

#endif
