// The offset of local time, remembered, so that printing an instant does not ask the run-time each time.
#ifndef LMKUTILS_TIME_INTERNAL_LOCAL_ZONE_H
#define LMKUTILS_TIME_INTERNAL_LOCAL_ZONE_H

#include <cstdint>

namespace du::internal {

// Seconds that local time is ahead of UTC at that instant (seconds since 1970). False when the run-time's
// calendar refuses the instant. Callable from any thread and at any time of the process's life.
//
// An answer is kept for the six days around the instant when the offsets at their two ends agree, else for
// its quarter of an hour (clocks are nearly always changed between two quarters; one with a change inside is
// asked for second by second). The zone itself is the one that the run-time took from the environment at the
// first conversion: a later change of TZ is not followed.
bool LocalOffset(std::int64_t seconds, std::int64_t& offset) noexcept;

}  // namespace du::internal

#endif
