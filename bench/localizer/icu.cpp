#include <memory>
#include <stdexcept>
#include <unordered_map>

#include "bench/localizer/rows.h"
#include "bench/messages/standard_map.h"
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

namespace bench {
namespace {

// Has no files of its own for messages. Every pattern is parsed beforehand; only the look-up and the
// formatting are measured.
class Icu {
 public:
  Icu() {
    for (const auto& [tag, text] : MakeMessages()) {
      UErrorCode status = U_ZERO_ERROR;
      auto format = std::make_unique<icu::MessageFormat>(icu::UnicodeString::fromUTF8(text),
                                                         icu::Locale::getEnglish(), status);
      if (U_FAILURE(status)) throw std::runtime_error("pattern refused: " + text);
      formats_.emplace(tag, std::move(format));
    }
  }

  std::string Plain(const char* tag) const { return Format(tag, nullptr, 0); }
  std::string Filled(const char* tag, const char* first, const char* second) const {
    const icu::Formattable arguments[] = {icu::Formattable(icu::UnicodeString::fromUTF8(first)),
                                          icu::Formattable(icu::UnicodeString::fromUTF8(second))};
    return Format(tag, arguments, 2);
  }

 private:
  std::string Format(const char* tag, const icu::Formattable* arguments, int count) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    icu::FieldPosition nowhere(icu::FieldPosition::DONT_CARE);
    formats_.find(std::string_view(tag))->second->format(arguments, count, text, nowhere, status);
    std::string result;
    return text.toUTF8String(result);
  }
  std::unordered_map<std::string, std::unique_ptr<icu::MessageFormat>, TextHash, std::equal_to<>> formats_;
};

const bool registered = (AddMessageRows<Icu>("std::unordered_map and ICU"), true);

}  // namespace
}  // namespace bench
