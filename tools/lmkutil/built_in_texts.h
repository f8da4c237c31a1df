// The tool's English texts as part of the program, for an installation that lacks them.
#ifndef LMKUTIL_BUILT_IN_TEXTS_H
#define LMKUTIL_BUILT_IN_TEXTS_H

#include <string_view>

namespace lmkutil {

// The strings file share/lumora/en/lmkutil.lmtrb; its source is written by the build.
extern const std::string_view kBuiltInTexts;

}  // namespace lmkutil

#endif
