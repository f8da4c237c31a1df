// PopBack in two steps, for owners that must not call under their lock.
#ifndef LMKUTILS_PLATFORM_INTERNAL_TAKE_BACK_H
#define LMKUTILS_PLATFORM_INTERNAL_TAKE_BACK_H

#include <optional>

#include "lmkutils/platform/at_exit.h"

namespace dp::internal {

// Removes the last record and returns its function, null when that was cancelled; nothing when there is no
// record.
std::optional<AtExitFunction> TakeBack(TrackerStackImpl& tracker) noexcept;

}  // namespace dp::internal

#endif
