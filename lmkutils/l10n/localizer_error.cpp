#include "lmkutils/l10n/localizer_error.h"

#include <utility>

namespace du {

LocalizerError::LocalizerError(std::string message) : message_(std::move(message)) {}

LocalizerError::~LocalizerError() = default;

const char* LocalizerError::what() const noexcept {
  return message_.c_str();
}

}  // namespace du
