// Instants and durations as text, written into a character buffer: what the printing adapters, and every
// trace record, are made with. No allocation, no locale, no lock once the zone's offset is known.
#ifndef LMKUTILS_TIME_INTERNAL_INSTANT_TEXT_H
#define LMKUTILS_TIME_INTERNAL_INSTANT_TEXT_H

#include <cstddef>
#include <cstdint>

namespace du::internal {

// No text of this file is longer; none ends with a terminator.
inline constexpr std::size_t kInstantTextSize = 48;

// Write milliseconds since 1970 as "9:5:07.042  17 Nov 2026" (hour and minute unpadded) and return the end
// of the text. An instant that the run-time's calendar refuses is written "0:0:00.000  0 <Bad month> 0".
char* WriteLocalInstant(std::int64_t milliseconds, char* out) noexcept;
char* WriteUtcInstant(std::int64_t milliseconds, char* out) noexcept;

// Writes a number of milliseconds as "26:3:09.120": hours, minutes, seconds, "-" before a negative one.
char* WriteDuration(std::int64_t milliseconds, char* out) noexcept;

// The instant's date in the local calendar: "17 Nov 2026", or "2026-11-17" when it is to be short. A refused
// instant is "0 <Bad month> 0" or "0000-00-00".
char* WriteLocalDate(std::int64_t milliseconds, bool isShort, char* out) noexcept;

}  // namespace du::internal

#endif
