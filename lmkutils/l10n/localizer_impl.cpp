#include "lmkutils/l10n/localizer_impl.h"

#include <istream>
#include <utility>

#include "lmkutils/files/file_system.h"
#include "lmkutils/l10n/internal/localizer_impl_map.h"
#include "lmkutils/l10n/internal/text_file_buffer.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/text/internal/lasting_symbol.h"

namespace du {
namespace {

constexpr char kDelimiter = ':';

[[noreturn]] void BarfNoResource(const std::string& name) {
  throw LocalizerError("Couldn't find a strings file for resource \"" + name + "\".");
}

[[noreturn]] void FailReading(const std::string& path) {
  throw LocalizerError("Couldn't read strings file resource \"" + path + "\".");
}

}  // namespace

Localizer::Impl::Impl(const Symbol& resourceName) : resourceName_(resourceName) {}

Localizer::Impl::~Impl() = default;

Symbol Localizer::Impl::GetDebugClassName() const {
  static const internal::LastingSymbol name("Localizer::Impl");
  return name.Get();
}

bool Localizer::Impl::LocalizeMessage(const char* tag, std::string& out, ActionOnFailure action,
                                      const std::vector<std::string>& args) const {
  const bool report = action == kReportFailure;
  return (primary_ && primary_->BuildLocalizedString(out, tag, report, args)) ||
         (fallback_ && fallback_->BuildLocalizedString(out, tag, report, args));
}

bool Localizer::Impl::LocalizeMessage(const char* tag, std::string& out, ActionOnFailure action) const {
  const bool report = action == kReportFailure;
  return (primary_ && primary_->BuildLocalizedString(out, tag, report)) ||
         (fallback_ && fallback_->BuildLocalizedString(out, tag, report));
}

// Line ends arrive as the table wants them. The file may have gone since it was found readable.
Lmtrb* Localizer::Impl::LoadLmtrbFile(const std::string& path, Lmtrb::PseudoLocalizeOption option) {
  internal::TextFileBuffer buffer;
  if (!FileSystem::FileReadable(path.c_str()) || !buffer.Open(path)) FailReading(path);
  std::istream in(&buffer);
  return new Lmtrb(in, path, option);
}

void Localizer::Impl::CheckPrimary() const {}

void Localizer::Impl::Initialize() {
  const std::string name = resourceName_;
  const std::size_t delimiter = name.find(kDelimiter);
  if (delimiter == std::string::npos) {
    throw LocalizerError("resource \"" + name + "\" appears to not be in <product>:<resource> format.");
  }
  const std::string product = name.substr(0, delimiter);
  const std::string resource = name.substr(delimiter + 1);
  const dp::LmInfo& info = dp::LmInfo::Instance();

  const bool pseudo = info.GetDoingPseudoLocalization();
  std::string path = info.GetPrimaryLmtrbFile(product, resource);
  std::string fallbackPath = pseudo ? std::string() : info.GetFallbackLmtrbFile(product, resource);
  if (path.empty()) path.swap(fallbackPath);
  if (path.empty()) BarfNoResource(name);

  primary_ = LoadTable(path, pseudo);
  CheckPrimary();
  if (fallbackPath.empty() || fallbackPath == path) return;
  fallback_ = LoadTable(fallbackPath, info.GetDoingPseudoFallbackLocalization());
}

void Localizer::Impl::AddAllStrings(HashMap<Symbol, Symbol>& map) const {
  const SmartPtr<Lmtrb>& table = primary_ ? primary_ : fallback_;
  if (table) table->AddAllStrings(map);
}

SmartPtr<Lmtrb> Localizer::Impl::LoadTable(const std::string& path, bool pseudoLocalize) {
  SmartPtr<Lmtrb> table(LoadLmtrbFile(path, pseudoLocalize ? Lmtrb::kPseudoLocalize : Lmtrb::kAsWritten));
  if (!table) FailReading(path);
  return table;
}

void SetLocalizerImplGenerator(LocalizerImplGenerator* generator) {
  internal::LocalizerImplMap::SetGenerator(generator);
}

}  // namespace du
