// Bytes as text.
#ifndef LMKUTILS_TEXT_INTERNAL_BASE64_H
#define LMKUTILS_TEXT_INTERNAL_BASE64_H

#include <string>
#include <string_view>

namespace du::internal {

// Base64 as RFC 4648, section 4, has it: with padding, without line breaks. Throws std::bad_alloc.
std::string EncodeBase64(std::string_view bytes);

}  // namespace du::internal

#endif
