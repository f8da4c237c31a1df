// String-resource files: the message texts of one resource in one language.
#ifndef LMKUTILS_L10N_LMTRB_H
#define LMKUTILS_L10N_LMTRB_H

#include <iosfwd>
#include <string>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/ref_counted.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace du {

// The table of one string-resource file (extension "lmtrb"): parsed once, from a stream, then only read. A
// line
//
//   SIZE.value={0} of {1} bytes
//
// is the message SIZE with two arguments; docs/string-resources.md has the whole format. The texts are UTF-8,
// and no byte of them is interpreted beyond that format.
//
// Owned by du::SmartPtr through its reference count. Once the constructor has returned, any number of threads
// may build messages from one table without locks.
//
// A tag is looked up byte by byte in an array trie: no hashing, no symbol. Messages are cut at their
// placeholders when the file is loaded, so that building one only copies bytes into the stream.
class LMK_API Lmtrb : public CommonAllocated, public RefCounted {
 public:
  enum PseudoLocalizeOption : int {
    kAsWritten = 0,       // and every value but 1
    kPseudoLocalize = 1,  // every text passes through du::CorruptMessage
  };

  // Reads `in` to its end; `fileName` serves in messages only. Line ends must arrive as "\n": open the file
  // in text mode, or filter it. Throws du::LocalizerError:
  //   Duplicate tag "TAG".       a tag occurs twice among the entries with the key "value"
  //   No recognizable content.   a line without "." or without "=" (the stream is then in the failed
  //                              state), a stream that cannot be read to its end, or no entry with the
  //                              key "value"
  // and std::bad_alloc when memory is exhausted or a text has 2 GiB or more. A last line without a line feed
  // is no entry; a value with a NUL byte ends there.
  Lmtrb(std::istream& in, const std::string& fileName, PseudoLocalizeOption option);

  // Copies share the table without a count of their own, and the destructor of each destroys it: do not copy.
  // The library never does.
  Lmtrb(const Lmtrb&) = default;
  Lmtrb& operator=(const Lmtrb&) = default;
  ~Lmtrb() override;

  Symbol GetDebugClassName() const override;  // "Lmtrb"

  // Writes the message of a tag to the stream, which counts as written whatever the stream's state. False,
  // and nothing written, when there is no such tag or the message does not take exactly as many arguments as
  // are given; `report` asks for a Warning record (component "utils", class "Lmtrb") of that. Arguments are
  // written as they are, whatever braces or backslashes they contain. A null tag counts as the empty one.
  bool BuildLocalizedString(std::ostream& out, const char* tag, bool report) const;
  bool BuildLocalizedString(std::ostream& out, const char* tag, bool report,
                            const std::vector<std::string>& args) const;

  // The same as texts: the message replaces `out`, which is left as it was when the result is false. Throw
  // std::bad_alloc.
  bool BuildLocalizedString(std::string& out, const char* tag, bool report) const;
  bool BuildLocalizedString(std::string& out, const char* tag, bool report,
                            const std::vector<std::string>& args) const;

  // As the first two for a text from elsewhere, with the escapes and placeholders of a value in a file; the
  // table is not asked. The tag serves in the record only. A null text counts as empty. Throws
  // std::bad_alloc.
  bool BuildLocalizedStringFromExternal(std::ostream& out, const char* tag, const char* text, bool report,
                                        const std::vector<std::string>& args) const;

  // Adds the text of every tag, in file order, with its placeholders; what the map has is kept. Throws
  // std::bad_alloc.
  void AddAllStrings(HashMap<Symbol, Symbol>& map) const;

 private:
  class Impl;

  Impl* impl_;
};

}  // namespace du

#endif
