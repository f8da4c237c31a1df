#ifndef LMKUTILS_PLATFORM_LM_INFO_H
#define LMKUTILS_PLATFORM_LM_INFO_H

#include <atomic>
#include <string>
#include <vector>

#include "lmkutils/export.h"

namespace dp {

namespace internal {
struct LanguageChoice;
}

// Where the library is installed, what lies beside it, and which language the user is spoken to in.
//
//   <root>/bin/liblmkutils.dll           Windows
//   <root>/lib/liblmkutils.so            Linux; lib64 and lib/<machine> too
//   <root>/share/lumora/                 the data directory
//   <root>/share/lumora/lmtrace/lmtrace.xsl   the style sheet that XML traces name
//   <root>/share/<product>/<language>/<resource>.lmtrb   the strings file of product:resource
//
// The root is found from the file that the library was loaded from: it is the directory above the library's,
// or the one above that, whichever holds share/lumora; the first when neither does. A host application that
// keeps the data elsewhere says so by SetInstallationRoot before anything asks for it.
//
// The language is chosen once, when the object is made. The environment variable "LUMORA_LANG" forces it:
//
//   de                one of GetSupportedLanguages(), in exactly that spelling
//   pseudo            every text is the English one, pseudo-localised
//   pseudo_de         German; what is missing there, and so falls back to English, is pseudo-localised
//   pseudo_l10n       the same for the language of the system
//
// Otherwise it is that of the user's interface (Windows), or of the first of LC_ALL, LC_MESSAGES and LANG
// that is not empty (Linux); English when that is none of the supported ones. An Info record (component
// "utils", class "LmInfo") tells the outcome; a Warning before it, that LUMORA_LANG holds something else.
// They are written by whoever makes the object, so tracing should be on by then; a consumer that makes it
// while it is installed, as one for XML traces does, loses them.
//
// One object for the process, made on first use, with longevity 0xFFFFFFFC: it goes before the symbols. What
// it knows never changes, so that any thread may ask; whether a strings file exists is looked up each time.
class LMK_API LmInfo {
 public:
  // Throws DeadReference after its end, std::bad_alloc.
  static LmInfo& Instance();

  // Names the root instead. False, and without effect, when `path` is not absolute, holds a NUL byte, or when
  // the object has been made already. The directory need not exist. UTF-8. Any thread.
  static bool SetInstallationRoot(const std::string& path);

  // System and processor that the library was built for: "windows-x86", "windows-x64", "linux-x64".
  static const char* GetPlatformName() noexcept;

  // The library's own version: "1.0.0".
  static const char* GetVersion() noexcept;

  // The codes of the languages that LUMORA_LANG takes, which are the names of their directories: "de", "en",
  // "fr", "es", "it", "ja", "ko", "zh_CN", "zh_TW", "ru", "pt_BR".
  static std::vector<std::string> GetSupportedLanguages();

  LmInfo(const LmInfo&) = delete;
  LmInfo& operator=(const LmInfo&) = delete;

  // Absolute paths, UTF-8, with the separators of the target and none at the end. Empty when the system did
  // not tell where the library is.
  const std::string& GetInstallationRoot() const noexcept { return root_; }
  const std::string& GetDataDirectory() const noexcept { return dataDirectory_; }

  // The path of a file of the installation, whether it exists or not: `relativeName` ("/lmtrace/lmtrace.xsl",
  // with or without the leading separator) in the data directory. Empty when there is no data directory.
  std::string GetDataFile(const std::string& relativeName) const;

  // GetDataFile of the style sheet for XML traces.
  std::string GetTraceStyleSheet() const;

  // Why the language is what it is.
  enum class LanguageSource {
    kVariable,  // LUMORA_LANG
    kSystem,    // the system's
    kDefault,   // English, since the system's language is not supported
  };

  // A supported code, or "pseudo" in the letter case in which LUMORA_LANG has it.
  const std::string& GetLanguage() const noexcept { return language_; }
  LanguageSource GetLanguageSource() const noexcept { return languageSource_; }
  // Whether LUMORA_LANG held something that is no language, and was passed over.
  bool WasLanguageRefused() const noexcept { return languageRefused_; }
  // The user's locale as the system names it ("de_DE.UTF-8", "de-DE"), whether it was used or not.
  const std::string& GetSystemLocale() const noexcept { return systemLocale_; }

  // Whether all texts are pseudo-localised (du::CorruptMessage), or those that are missing in the language.
  bool GetDoingPseudoLocalization() const noexcept { return pseudo_; }
  bool GetDoingPseudoFallbackLocalization() const noexcept { return pseudoFallback_; }

  // The path of the existing strings file of product:resource: in the user's language, where a regional code
  // without that file falls back to its base language ("zh_TW" to a directory "zh"), and in English. In
  // "pseudo" the former is the English file too. Empty when there is none, when the installation's root is
  // not known, and for words that could lead elsewhere: empty ones, those that begin with a dot, and those
  // with "..", a control character or one of / \ : * ? " < > |.
  std::string GetPrimaryLmtrbFile(const std::string& product, const std::string& resource) const;
  std::string GetFallbackLmtrbFile(const std::string& product, const std::string& resource) const;

  // Where the strings file of a language belongs, whether it exists or not; empty as above, which goes for
  // the language too.
  std::string GetLmtrbFile(const std::string& language, const std::string& product,
                           const std::string& resource) const;

 private:
  struct Traits;

  LmInfo(std::string root, internal::LanguageChoice choice, std::string systemLocale);
  ~LmInfo() = default;

  void TraceLanguage() noexcept;
  std::string FindLmtrbFile(const std::string& language, const std::string& product,
                            const std::string& resource) const;

  std::string root_;
  std::string dataDirectory_;
  std::string language_;
  LanguageSource languageSource_;
  std::string systemLocale_;
  bool pseudo_;
  bool pseudoFallback_;
  std::string refusedLanguage_;
  bool languageRefused_;
  std::atomic<bool> languageTraced_{false};
};

LMK_API unsigned GetLongevity(LmInfo*) noexcept;

}  // namespace dp

#endif
