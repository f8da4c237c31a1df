#include "lmkutils/l10n/localizer.h"

#include <exception>
#include <new>

#include "lmkutils/l10n/internal/localizer_impl_map.h"
#include "lmkutils/l10n/localizer_impl.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

constexpr char kErrorText[] = "<localization error>";

void TraceFailure(const char* reason) noexcept {
  static const dp::LMTracer tracer("utils", "Localize");
  tracer(dp::TraceType::Error) << "Localizer():- " << reason;
}

// What a message that failed shows: `produced` is what came of it all the same.
std::string FailureText(std::string produced, Localizer::ActionOnFailure action) {
  return action == Localizer::kReportFailure ? kErrorText : std::move(produced);
}

}  // namespace

Localizer::Localizer(const char* resourceName) {
  try {
    impl_ = internal::LocalizerImplMap::Get(resourceName);
    if (!impl_) TraceFailure("the library's objects are gone already");
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    TraceFailure(error.what());
  }
}

Localizer::Localizer(const Localizer& other) noexcept = default;

Localizer& Localizer::operator=(const Localizer& other) noexcept = default;

Localizer::~Localizer() = default;

std::string Localizer::LocalizeMessage(const char* tag, ActionOnFailure action) const {
  std::string text;
  if (impl_ && impl_->LocalizeMessage(tag, text, action)) return text;
  return FailureText(std::move(text), action);
}

std::string Localizer::LocalizeMessage(const char* tag, const AssembleArgs& args,
                                       ActionOnFailure action) const {
  std::string text;
  if (impl_ && impl_->LocalizeMessage(tag, text, action, args.GetArguments())) return text;
  return FailureText(std::move(text), action);
}

void Localizer::AddAllStrings(HashMap<Symbol, Symbol>& map) const {
  if (impl_) impl_->AddAllStrings(map);
}

}  // namespace du
