#include "tools/lmkutil/resources.h"

#include <sstream>

#include "tools/lmkutil/built_in_texts.h"

#include "lmkutils/l10n/lmtrb.h"

namespace lmkutil {
namespace {

constexpr char kNoMessage[] = "<localization error>";

// The English strings file as it was when the tool was built; never destroyed, since other threads may ask.
const du::Lmtrb& BuiltInTexts() {
  static const du::Lmtrb& table = *[] {
    std::istringstream in{std::string(kBuiltInTexts)};
    return new du::Lmtrb(in, "built-in texts", du::Lmtrb::kAsWritten);
  }();
  return table;
}

}  // namespace

std::string Resources::Text(const char* tag, const std::vector<std::string>& args) const {
  du::AssembleArgs arguments;
  for (const std::string& arg : args) {
    if (arg.empty()) arguments.AddEmptyArgument();
    arguments << arg;
  }
  std::string text = localizer_.LocalizeMessage(tag, arguments, du::Localizer::kReportFailure);
  if (text != kNoMessage || BuiltInTexts().BuildLocalizedString(text, tag, false, args)) return text;
  text = tag;
  for (const std::string& arg : args) text += ' ' + arg;
  return text;
}

}  // namespace lmkutil
