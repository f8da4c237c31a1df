// dp::DeadReference: the use of something that the end of the process has already destroyed.
#ifndef LMKUTILS_PLATFORM_DEAD_REFERENCE_H
#define LMKUTILS_PLATFORM_DEAD_REFERENCE_H

#include <stdexcept>

#include "lmkutils/export.h"

namespace dp {

// Thrown by the accessor of a process-wide object after that object's destruction. Its text is
// "Dead Reference Detected".
class LMK_API DeadReference : public std::runtime_error {
 public:
  DeadReference();
  DeadReference(const DeadReference&) noexcept = default;
  DeadReference& operator=(const DeadReference&) noexcept = default;
  ~DeadReference() override;
};

}  // namespace dp

#endif
