// String-resource files as the library reads them.
#ifndef LMKUTIL_STRING_TABLE_H
#define LMKUTIL_STRING_TABLE_H

#include <string>

#include "tools/lmkutil/resources.h"

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/memory/smart_ptr.h"

namespace lmkutil {

// The table of a file whose bytes are given. Throws du::LocalizerError when the library refuses it.
du::SmartPtr<du::Lmtrb> LoadTable(const std::string& path, const std::string& bytes);

// The table of a file, or null and a line on the error stream; `bytes`, when it is given, receives those of
// the file.
du::SmartPtr<du::Lmtrb> OpenTable(const std::string& path, const Resources& resources,
                                  std::string* bytes = nullptr);

}  // namespace lmkutil

#endif
