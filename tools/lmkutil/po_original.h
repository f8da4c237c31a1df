// The English messages as the entries of a PO file show them.
#ifndef LMKUTIL_PO_ORIGINAL_H
#define LMKUTIL_PO_ORIGINAL_H

#include <map>
#include <string>
#include <vector>

#include "tools/lmkutil/po_file.h"
#include "tools/lmkutil/string_lines.h"

namespace lmkutil {

struct PoOriginal {
  PoEntry entry;           // not translated; context is the tag
  std::size_t blanks = 0;  // empty lines before it in the file
};

class PoOriginals {
 public:
  // The name of the file is for "#: ", and may be empty.
  PoOriginals(const StringLines& english, const std::string& name);

  const std::vector<PoOriginal>& All() const { return all_; }
  // The place of a tag; All().size() when it has none.
  std::size_t Find(const std::string& tag) const;

 private:
  std::vector<PoOriginal> all_;
  std::map<std::string, std::size_t, std::less<>> places_;
};

}  // namespace lmkutil

#endif
