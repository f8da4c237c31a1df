// Messages in the user's language.
#ifndef LMKUTILS_L10N_LOCALIZER_H
#define LMKUTILS_L10N_LOCALIZER_H

#include <string>

#include "lmkutils/export.h"
#include "lmkutils/l10n/assemble_args.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace du {

// Turns the tags of one resource into texts. A resource is named "product:resource", and its texts are in
// strings files (du::Lmtrb) of an installation: one in the user's language, and the English one for what is
// missing there. dp::LmInfo chooses the language and finds the files; docs/localisation.md tells how.
//
//   const du::Localizer texts("viewer:messages");
//   text = texts.LocalizeMessage("SIZE", du::AssembleArgs() << 4096 << name, du::Localizer::kReportFailure);
//
// A light handle, one pointer: all localizers of a name share the tables, which are loaded when the first of
// them is made and kept until the process ends. A name that cannot be set up is not remembered; the next
// localizer of that name tries again.
//
// Localizers are made and used on any thread, from static constructors to the last destructor, and
// LocalizeMessage takes no lock; one object is not assigned to while another thread uses it. Making the first
// localizer of a name loads its files under a lock of the whole process, so that they are loaded once: a
// trace consumer must not make localizers, since what is traced meanwhile would have it wait for itself. Once
// the library's own objects are gone at the end of the process, a new localizer is empty; one from before
// still answers.
class LMK_API Localizer {
 public:
  class Impl;  // lmkutils/l10n/localizer_impl.h

  // What to do about a message that cannot be produced; every value but 0 is as kStaySilent.
  enum ActionOnFailure : int {
    kReportFailure = 0,  // trace it, and give "<localization error>" as the text
    kStaySilent = 1,     // give what was produced: an empty text
  };

  // Null counts as empty. When the resource cannot be set up (a name without ':', no strings file, one that
  // cannot be read or is malformed), an Error record tells why (component "utils", class "Localize") and the
  // localizer is empty: each of its messages fails. Throws nothing but std::bad_alloc, and what a generator
  // throws that is no std::exception.
  explicit Localizer(const char* resourceName);
  Localizer(const Localizer& other) noexcept;
  Localizer& operator=(const Localizer& other) noexcept;
  ~Localizer();

  // The message of a tag, without and with arguments, which must be as many as the message takes. It is
  // looked for in the table of the user's language first, then in the English one. Throw std::bad_alloc.
  std::string LocalizeMessage(const char* tag, ActionOnFailure action = kReportFailure) const;
  std::string LocalizeMessage(const char* tag, const AssembleArgs& args,
                              ActionOnFailure action = kReportFailure) const;

  // Adds tag and text, with its placeholders, of every message in the user's language; of every English one
  // when the resource has no table in that language. What the map has is kept. Throws std::bad_alloc.
  void AddAllStrings(HashMap<Symbol, Symbol>& map) const;

 private:
  SmartPtr<Impl> impl_;  // null when the resource could not be set up
};

}  // namespace du

#endif
