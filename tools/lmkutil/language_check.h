// What "strings check" finds in one language of a product.
#ifndef LMKUTIL_LANGUAGE_CHECK_H
#define LMKUTIL_LANGUAGE_CHECK_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/lmkutil/string_file.h"

namespace lmkutil {

// How far a language is, counted in messages. What the tool's users get in that language is `translated`: the
// message is there, takes the arguments of the English one, and is not a copy of it by oversight.
struct LanguageSummary {
  std::string code;
  std::string path;        // of its folder
  std::size_t wanted = 0;  // messages of the English files
  std::size_t translated = 0;
  std::size_t missing = 0;    // with those of files that are missing, or that the library refuses
  std::size_t extra = 0;      // messages without an English one
  std::size_t same = 0;       // as in English, though not meant to be
  std::size_t arguments = 0;  // other placeholders than in English
  std::size_t tooLong = 0;
  std::size_t others = 0;  // findings of other kinds

  // Of the messages that are wanted; 100 only when all are there.
  std::size_t Percent() const { return wanted == 0 ? 100 : translated * 100 / wanted; }
};

// Compares the files of a language, one for each English file and in the same order, with these; adds what it
// finds to them. A text is too long when it takes more than `longest` per cent of the columns of the English
// one and ten more; 0 allows any length.
LanguageSummary CheckLanguage(const std::vector<StringFile>& english, std::vector<StringFile>& files,
                              unsigned longest);

}  // namespace lmkutil

#endif
