// Which language the user is spoken to in.
#ifndef LMKUTILS_PLATFORM_INTERNAL_LANGUAGE_H
#define LMKUTILS_PLATFORM_INTERNAL_LANGUAGE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dp::internal {

// The codes of the supported languages, which are the names of their directories too.
inline constexpr std::string_view kLanguages[] = {"de", "en",    "fr",    "es", "it",   "ja",
                                                  "ko", "zh_CN", "zh_TW", "ru", "pt_BR"};
inline constexpr std::string_view kEnglish = "en";

struct LanguageChoice {
  std::string language;                // a supported code; the text of the wish in pseudo-localisation mode
  bool isForced = false;               // by the wish, not by the system
  bool isKnown = true;                 // false: English, since nothing supported was asked for
  bool pseudo = false;                 // everything is pseudo-localised
  bool pseudoFallback = false;         // ... what falls back
  std::optional<std::string> refused;  // the wish, when it is no language
};

// From the text of the environment variable and the user's locale as the system names it.
LanguageChoice ChooseLanguage(const std::string& wish, const std::string& locale);

// The supported language closest to a locale ("de_AT.UTF-8", "zh-Hant-HK"), whatever its letter case; empty
// when there is none ("C", "nl_NL").
std::string_view LanguageOfLocale(std::string_view locale);

// The directories in which the texts of a language may be, the best one first: "zh_CN", "zh".
std::vector<std::string> DirectoriesOfLanguage(const std::string& language);

// Whether a word may become part of a path: not empty, and nothing in it leads to another place, on any
// target.
bool IsResourceWord(std::string_view word) noexcept;

}  // namespace dp::internal

#endif
