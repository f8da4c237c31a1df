#include "tools/lmkutil/resources.h"

#include <sstream>
#include <stdexcept>

#include "tools/lmkutil/text_file.h"

#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"

namespace lmkutil {
namespace {

constexpr char kEnglish[] = "en";
constexpr std::string_view kPseudo = "pseudo";

std::string LowerCase(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

std::string ResourcePath(const std::string& language) {
  return dp::LmInfo::Instance().GetDataFile(language + "/lmkutil.lmtrb");
}

// "de_DE.UTF-8" is "de_DE" where that folder exists, else "de"; empty when neither does.
std::string FindLanguage(const std::string& locale) {
  std::string code = locale.substr(0, locale.find_first_of(".@"));
  if (code.find_first_of("/\\") != code.npos) return "";
  if (!code.empty() && ReadFile(ResourcePath(code))) return code;
  code = code.substr(0, code.find('_'));
  return !code.empty() && ReadFile(ResourcePath(code)) ? code : "";
}

std::string SystemLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const std::string locale = dp::Environment::Get(variable);
    if (!locale.empty()) return FindLanguage(locale);  // the first one that is set decides
  }
  return "";
}

du::SmartPtr<du::Lmtrb> Load(const std::string& path, bool pseudo) {
  const std::optional<std::string> bytes = ReadFile(path);
  if (!bytes) return nullptr;
  std::istringstream in(WithoutCarriageReturns(*bytes));
  return du::MakeShared<du::Lmtrb>(in, path, pseudo ? du::Lmtrb::kPseudoLocalize : du::Lmtrb::kAsWritten);
}

}  // namespace

Language ChooseLanguage() {
  Language language;
  std::string wish = dp::Environment::Get("LUMORA_LANG");
  const std::string lower = LowerCase(wish);
  language.pseudo = lower == kPseudo;
  language.pseudoFallback = lower.starts_with("pseudo_");
  if (language.pseudo) {
    wish.clear();
  } else if (language.pseudoFallback) {
    wish.erase(0, kPseudo.size() + 1);
  }
  if (!wish.empty()) language.code = FindLanguage(wish);
  if (language.code.empty() && !language.pseudo) language.code = SystemLanguage();
  if (language.code.empty()) language.code = kEnglish;
  return language;
}

Resources::Resources(const Language& language) {
  primary_ = Load(ResourcePath(language.code), language.pseudo);
  if (language.code != kEnglish) fallback_ = Load(ResourcePath(kEnglish), language.pseudoFallback);
  if (!primary_ && !fallback_) throw std::runtime_error("cannot read its texts, " + ResourcePath(kEnglish));
}

std::string Resources::Text(const char* tag, const std::vector<std::string>& args) const {
  std::ostringstream out;
  const bool hasFallback = static_cast<bool>(fallback_);
  if (primary_ && primary_->BuildLocalizedString(out, tag, true, args)) return out.str();
  if (hasFallback && fallback_->BuildLocalizedString(out, tag, true, args)) return out.str();
  out << tag;
  for (const std::string& arg : args) out << ' ' << arg;
  return out.str();
}

}  // namespace lmkutil
