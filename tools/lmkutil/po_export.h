// String-resource files as entries of a PO file.
#ifndef LMKUTIL_PO_EXPORT_H
#define LMKUTIL_PO_EXPORT_H

#include <string>
#include <vector>

#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/po_file.h"
#include "tools/lmkutil/string_lines.h"

namespace lmkutil {

struct PoNames {
  std::string project;    // what is translated
  std::string language;   // may be empty
  std::string reference;  // the English file, for "#: "; empty for none
};

// The template for translators: the English messages in their order, without translations.
std::vector<PoEntry> MakeTemplate(const StringLines& english, const PoNames& names);

// A translation in its own order, with the English messages that it does not have behind the ones that they
// follow in the English file. Messages that English does not have stand for themselves.
std::vector<PoEntry> MakeTranslation(const StringLines& english, const StringLines& translation,
                                     const PoNames& names);

// The text of a translation as an entry can show it: msgfmt wants line breaks at both ends to agree.
std::string ShownTranslation(const std::string& text, const std::string& id);

// The command "strings export".
ExitStatus ExportPo(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
