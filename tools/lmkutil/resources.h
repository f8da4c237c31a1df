// The tool's own texts, in the user's language.
#ifndef LMKUTIL_RESOURCES_H
#define LMKUTIL_RESOURCES_H

#include <string>
#include <vector>

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/memory/smart_ptr.h"

namespace lmkutil {

// Which texts to show, as the environment says: "LUMORA_LANG", else "LC_ALL", "LC_MESSAGES" or "LANG", else
// English.
struct Language {
  std::string code;             // the name of a folder of the data directory: "de", "pt_BR"
  bool pseudo = false;          // show pseudo-localised texts
  bool pseudoFallback = false;  // ... where the language has none
};

Language ChooseLanguage();

class Resources {
 public:
  // Loads <data directory>/<language>/lmkutil.lmtrb, and the English file for what is missing there. Throws
  // std::runtime_error when not even that one can be loaded.
  explicit Resources(const Language& language);

  // The message of a tag; the tag itself with its arguments when there is none.
  std::string Text(const char* tag, const std::vector<std::string>& args = {}) const;

 private:
  du::SmartPtr<du::Lmtrb> primary_;  // may be null
  du::SmartPtr<du::Lmtrb> fallback_;
};

}  // namespace lmkutil

#endif
