#include "lmkutils/platform/lm_info.h"

#include <iterator>
#include <memory>
#include <utility>

#include "lmkutils/os/file.h"
#include "lmkutils/os/process.h"
#include "lmkutils/os/system_info.h"
#include "lmkutils/os/user_locale.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/internal/installation.h"
#include "lmkutils/platform/internal/language.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/singleton.h"
#include "lmkutils/trace/lm_tracer.h"

namespace dp {
namespace {

using internal::LanguageChoice;
using internal::ScopedLock;

constexpr char kLanguageVariable[] = "LUMORA_LANG";
constexpr char kSharedData[] = "share";
constexpr char kStringsFileExtension[] = ".lmtrb";

// What the host application named before anything asked. The text is never freed: an object that could not be
// completed is made again from it.
constinit internal::LazySpinLock hostRootLock;
constinit std::string* hostRoot = nullptr;
constinit bool hostRootTaken = false;

// The host's root, which from now on stays what it is; empty when none was named.
std::string TakeHostRoot() {
  const ScopedLock guard(hostRootLock);
  hostRootTaken = true;
  return hostRoot ? *hostRoot : std::string();
}

std::string OwnRoot() {
  std::string module;
  return os::ModulePath(module) == 0 ? internal::FindInstallationRoot(module) : std::string();
}

}  // namespace

struct LmInfo::Traits {
  using Object = LmInfo;
  static void Prepare() {}  // plain texts: no other process-wide object is needed
  static LmInfo* Create() {
    std::string root = TakeHostRoot();
    if (root.empty()) root = OwnRoot();
    std::string locale = os::UserLocale();
    LanguageChoice choice = internal::ChooseLanguage(Environment::Get(kLanguageVariable), locale);
    return new LmInfo(std::move(root), std::move(choice), std::move(locale));
  }
  static void Destroy(LmInfo* info) noexcept { delete info; }
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<LmInfo*>(nullptr)); }
};

unsigned GetLongevity(LmInfo*) noexcept {
  return 0xFFFFFFFC;
}

// The language is traced when no lock is held: the trace controller holds its own while a consumer asks for
// the style sheet.
LmInfo& LmInfo::Instance() {
  if (LmInfo* const existing = internal::Singleton<Traits>::Existing()) return *existing;
  LmInfo& info = internal::Singleton<Traits>::Instance();
  if (!info.languageTraced_.exchange(true)) info.TraceLanguage();
  return info;
}

bool LmInfo::SetInstallationRoot(const std::string& path) {
  if (!internal::IsAcceptableRoot(path)) return false;
  auto named = std::make_unique<std::string>(internal::InSystemForm(path));
  {
    const ScopedLock guard(hostRootLock);
    if (hostRootTaken) return false;
    named.reset(std::exchange(hostRoot, named.release()));
  }
  return true;
}

LmInfo::LmInfo(std::string root, LanguageChoice choice, std::string systemLocale)
    : root_(std::move(root)),
      dataDirectory_(internal::PathBelow(root_, internal::kDataDirectory)),
      language_(std::move(choice.language)),
      languageSource_(choice.isForced  ? LanguageSource::kVariable
                      : choice.isKnown ? LanguageSource::kSystem
                                       : LanguageSource::kDefault),
      systemLocale_(std::move(systemLocale)),
      pseudo_(choice.pseudo),
      pseudoFallback_(choice.pseudoFallback),
      refusedLanguage_(choice.refused.value_or("")),
      languageRefused_(choice.refused.has_value()) {}

void LmInfo::TraceLanguage() noexcept {
  static const LMTracer tracer("utils", "LmInfo");
  if (languageRefused_) {
    tracer(TraceType::Warning) << kLanguageVariable << " set to invalid value \"" << refusedLanguage_
                               << "\".";
  }
  const bool isForced = languageSource_ == LanguageSource::kVariable;
  tracer(TraceType::Info) << (isForced ? "Overriding system language to" : "Using system language") << " \""
                          << language_ << "\".";
}

const char* LmInfo::GetPlatformName() noexcept {
  return os::PlatformName();
}

const char* LmInfo::GetVersion() noexcept {
  return LMK_VERSION;
}

std::vector<std::string> LmInfo::GetSupportedLanguages() {
  return {std::begin(internal::kLanguages), std::end(internal::kLanguages)};
}

std::string LmInfo::GetDataFile(const std::string& relativeName) const {
  return internal::PathBelow(dataDirectory_, relativeName);
}

std::string LmInfo::GetTraceStyleSheet() const {
  return GetDataFile("/lmtrace/lmtrace.xsl");
}

std::string LmInfo::GetPrimaryLmtrbFile(const std::string& product, const std::string& resource) const {
  return FindLmtrbFile(pseudo_ ? std::string(internal::kEnglish) : language_, product, resource);
}

std::string LmInfo::GetFallbackLmtrbFile(const std::string& product, const std::string& resource) const {
  return FindLmtrbFile(std::string(internal::kEnglish), product, resource);
}

std::string LmInfo::GetLmtrbFile(const std::string& language, const std::string& product,
                                 const std::string& resource) const {
  for (const std::string* const word : {&language, &product, &resource}) {
    if (!internal::IsResourceWord(*word)) return {};
  }
  const std::string shared = internal::PathBelow(root_, kSharedData);
  return internal::PathBelow(shared, product + '/' + language + '/' + resource + kStringsFileExtension);
}

std::string LmInfo::FindLmtrbFile(const std::string& language, const std::string& product,
                                  const std::string& resource) const {
  for (const std::string& directory : internal::DirectoriesOfLanguage(language)) {
    std::string path = GetLmtrbFile(directory, product, resource);
    if (!path.empty() && os::IsRegularFile(path.c_str())) return path;
  }
  return {};
}

}  // namespace dp
