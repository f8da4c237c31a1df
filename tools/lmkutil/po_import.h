// The way back from a PO file to a string-resource file.
#ifndef LMKUTIL_PO_IMPORT_H
#define LMKUTIL_PO_IMPORT_H

#include <cstddef>
#include <vector>

#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/po_file.h"
#include "tools/lmkutil/string_lines.h"

namespace lmkutil {

struct PoImport {
  StringLines file;
  std::size_t translated = 0;
  std::size_t untranslated = 0;
  std::size_t fuzzy = 0;  // left out
};

// The string-resource file of the entries. Fuzzy ones are left out and reported, or with `takeFuzzy` taken
// over. An entry that cannot be a message is an error.
PoImport ImportEntries(const std::vector<PoEntry>& entries, bool takeFuzzy, std::vector<Finding>& findings);

// The command "strings import".
ExitStatus ImportPo(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
