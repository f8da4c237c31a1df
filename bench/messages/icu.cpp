#include <memory>
#include <stdexcept>
#include <unordered_map>

#include "bench/messages/rows.h"
#include "bench/messages/standard_map.h"
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

namespace bench {
namespace {

// Every pattern is parsed beforehand; only the look-up and the formatting are measured.
class Icu {
 public:
  Icu() {
    for (const auto& [tag, text] : LoadMap()) {
      UErrorCode status = U_ZERO_ERROR;
      auto format = std::make_unique<icu::MessageFormat>(icu::UnicodeString::fromUTF8(text),
                                                         icu::Locale::getEnglish(), status);
      if (U_FAILURE(status)) throw std::runtime_error("pattern refused: " + text);
      formats_.emplace(tag, std::move(format));
    }
  }
  void Write(std::ostream& out, const char* tag) {
    const std::string text = Build(tag);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
  std::string Build(const char* tag) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    icu::FieldPosition nowhere(icu::FieldPosition::DONT_CARE);
    formats_.find(std::string_view(tag))->second->format(arguments_, 2, text, nowhere, status);
    std::string result;
    return text.toUTF8String(result);
  }

 private:
  std::unordered_map<std::string, std::unique_ptr<icu::MessageFormat>, TextHash, std::equal_to<>> formats_;
  icu::Formattable arguments_[2] = {icu::Formattable(kFirst), icu::Formattable(kSecond)};
};

const bool registered = (AddLoadedMessageRows<Icu>("std::unordered_map and ICU"), true);

}  // namespace
}  // namespace bench
