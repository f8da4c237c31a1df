#include "lmkutils/platform/internal/language.h"

#include <algorithm>
#include <iterator>

namespace dp::internal {
namespace {

constexpr std::string_view kPseudo = "pseudo";
constexpr std::string_view kPseudoFallback = "pseudo_";
constexpr std::string_view kNoLanguage = "l10n";

// ASCII only: the result must not depend on the process's locale.
std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return lower;
}

bool IsSupported(std::string_view code) noexcept {
  return std::find(std::begin(kLanguages), std::end(kLanguages), code) != std::end(kLanguages);
}

// "zh-Hant_HK.UTF-8@x" as {"zh", "hant", "hk"}.
std::vector<std::string> Subtags(std::string_view locale) {
  const std::string text = LowerCase(locale.substr(0, locale.find_first_of(".@")));
  std::vector<std::string> tags;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find_first_of("-_", begin), text.size());
    tags.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return tags;
}

// Script decides, then region: Taiwan, Hong Kong and Macao write traditional characters.
bool IsTraditionalChinese(const std::vector<std::string>& tags) {
  const auto has = [&tags](const char* tag) {
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
  };
  return has("hant") || (!has("hans") && (has("tw") || has("hk") || has("mo")));
}

void TakeWish(const std::string& wish, LanguageChoice& choice) {
  const std::string lower = LowerCase(wish);
  if (wish.empty()) return;
  if (lower == kPseudo) {
    choice.pseudo = true;
    choice.language = wish;
    return;
  }
  choice.pseudoFallback = lower.starts_with(kPseudoFallback);
  const std::string language = choice.pseudoFallback ? wish.substr(kPseudoFallback.size()) : wish;
  if (choice.pseudoFallback && LowerCase(language) == kNoLanguage) return;
  if (IsSupported(language)) {
    choice.language = language;
  } else {
    choice.refused = language;
  }
}

}  // namespace

LanguageChoice ChooseLanguage(const std::string& wish, const std::string& locale) {
  LanguageChoice choice;
  TakeWish(wish, choice);
  choice.isForced = !choice.language.empty();
  if (choice.isForced) return choice;
  choice.language = LanguageOfLocale(locale);
  choice.isKnown = !choice.language.empty();
  if (!choice.isKnown) choice.language = kEnglish;
  return choice;
}

std::string_view LanguageOfLocale(std::string_view locale) {
  const std::vector<std::string> tags = Subtags(locale);
  if (tags[0] == "zh") return IsTraditionalChinese(tags) ? "zh_TW" : "zh_CN";
  if (tags[0] == "pt") return "pt_BR";  // closer to a Portuguese reader than English
  const auto* const found = std::find(std::begin(kLanguages), std::end(kLanguages), tags[0]);
  return found != std::end(kLanguages) ? *found : std::string_view();
}

std::vector<std::string> DirectoriesOfLanguage(const std::string& language) {
  std::vector<std::string> directories{language};
  const std::size_t region = language.find('_');
  if (region != std::string::npos) directories.push_back(language.substr(0, region));
  return directories;
}

// A colon names a drive or a stream on Windows, which also drops dots and blanks at the end of a name: one
// that begins with a dot could come to mean the directory above.
bool IsResourceWord(std::string_view word) noexcept {
  constexpr std::string_view kMisleading = "/\\:*?\"<>|";
  if (word.empty() || word[0] == '.' || word.find("..") != std::string_view::npos) return false;
  return std::none_of(word.begin(), word.end(), [kMisleading](char c) {
    return static_cast<unsigned char>(c) < ' ' || kMisleading.find(c) != std::string_view::npos;
  });
}

}  // namespace dp::internal
