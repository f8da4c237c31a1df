// Operations that tell every failure by their result.
#ifndef LMKUTILS_FILES_INTERNAL_WITHOUT_THROWING_H
#define LMKUTILS_FILES_INTERNAL_WITHOUT_THROWING_H

#include <exception>

namespace du::internal {

// The operation's result; false when it throws, for want of memory.
template <class Operation>
bool WithoutThrowing(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace du::internal

#endif
