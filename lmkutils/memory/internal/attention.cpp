#include "lmkutils/memory/internal/attention.h"

namespace du::internal {

constinit Attention attention;

}  // namespace du::internal
