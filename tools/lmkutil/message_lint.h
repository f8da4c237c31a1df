// Faults within the text of one message.
#ifndef LMKUTIL_MESSAGE_LINT_H
#define LMKUTIL_MESSAGE_LINT_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/lmkutil/string_file.h"

namespace lmkutil {

struct TextFault {
  std::size_t offset;  // in the text, bytes
  Severity severity;
  const char* tag;
  std::vector<std::string> args;
};

// The faults of a text as it stands in the file; adds the numbers of its placeholders to `arguments`.
std::vector<TextFault> LintText(std::string_view text, std::set<long>& arguments);

// How many characters begin in a piece of UTF-8.
std::size_t CharacterCount(std::string_view text);

std::string HexByte(char byte);  // "0A"

}  // namespace lmkutil

#endif
