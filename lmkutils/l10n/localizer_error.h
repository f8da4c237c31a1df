#ifndef LMKUTILS_L10N_LOCALIZER_ERROR_H
#define LMKUTILS_L10N_LOCALIZER_ERROR_H

#include <exception>
#include <string>

#include "lmkutils/export.h"

namespace du {

// What localisation throws: a string-resource file that cannot be loaded, a resource that cannot be found.
class LMK_API LocalizerError : public std::exception {
 public:
  explicit LocalizerError(std::string message);
  LocalizerError(const LocalizerError&) = default;
  LocalizerError& operator=(const LocalizerError&) = default;
  ~LocalizerError() override;

  const char* what() const noexcept override;

 private:
  std::string message_;
};

}  // namespace du

#endif
