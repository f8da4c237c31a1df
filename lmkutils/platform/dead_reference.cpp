#include "lmkutils/platform/dead_reference.h"

namespace dp {

DeadReference::DeadReference() : std::runtime_error("Dead Reference Detected") {}

DeadReference::~DeadReference() = default;

}  // namespace dp
