// The tool's own texts, in the user's language.
#ifndef LMKUTIL_RESOURCES_H
#define LMKUTIL_RESOURCES_H

#include <string>
#include <vector>

#include "lmkutils/l10n/localizer.h"

namespace lmkutil {

// The product and the resource that the texts belong to.
inline constexpr char kProduct[] = "lumora";
inline constexpr char kResource[] = "lmkutil";

// Any thread may ask.
class Resources {
 public:
  // The message of a tag, as the localizer has it; what the installation lacks in English as well comes from
  // the tool itself, so that it can say what is wrong with the installation. The tag with its arguments when
  // there is no such message.
  std::string Text(const char* tag, const std::vector<std::string>& args = {}) const;

 private:
  const du::Localizer localizer_{(std::string(kProduct) + ":" + kResource).c_str()};
};

}  // namespace lmkutil

#endif
