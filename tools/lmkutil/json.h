// JSON, as the tool writes it.
#ifndef LMKUTIL_JSON_H
#define LMKUTIL_JSON_H

#include <string>
#include <string_view>

namespace lmkutil {

// A text as a JSON string, in quotation marks. What is not UTF-8 becomes U+FFFD.
std::string JsonString(std::string_view text);

}  // namespace lmkutil

#endif
