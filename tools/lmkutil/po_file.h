// Gettext PO files: the entries, and how they are written and read.
#ifndef LMKUTIL_PO_FILE_H
#define LMKUTIL_PO_FILE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/lmkutil/string_file.h"

namespace lmkutil {

// One entry, texts without quotation marks and escapes. That with neither context nor id is the header: its
// translation holds the fields, a line each.
struct PoEntry {
  std::size_t line = 1;                // where the entry begins
  std::vector<std::string> comments;   // the translator's ("# "), without that
  std::vector<std::string> extracted;  // the developer's ("#. ")
  std::string reference;               // "#: "; not read
  std::vector<std::string> flags;      // "#, "
  std::optional<std::string> context;
  std::string id;
  std::string translation;
  bool hasPlural = false;

  bool IsHeader() const { return !context && id.empty(); }
  bool HasFlag(std::string_view flag) const;
};

struct PoFile {
  std::vector<PoEntry> entries;
  std::size_t obsolete = 0;  // entries that msgmerge put away behind "#~"; they are not read
};

std::string WritePo(const std::vector<PoEntry>& entries);

// What a PO file holds. When it is not one, or not in UTF-8, what was read up to there, and a finding.
PoFile ReadPo(std::string_view bytes, std::vector<Finding>& findings);

}  // namespace lmkutil

#endif
