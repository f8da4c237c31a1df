#ifndef LMKUTILS_PLATFORM_PROCESS_H
#define LMKUTILS_PLATFORM_PROCESS_H

#include "lmkutils/export.h"

namespace dp {

// The process that the library runs in. Any thread, at any time.
class LMK_API Process {
 public:
  // The identifier by which the system knows it.
  static unsigned GetCurrentProcId() noexcept;
};

}  // namespace dp

#endif
