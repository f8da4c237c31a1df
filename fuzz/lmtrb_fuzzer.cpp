// Any bytes as a string-resource file: loaded by du::Lmtrb and by a plain second reader, which must agree, as
// written and pseudo-localised; then every message is built.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/l10n/testing/reference_table.h"
#include "lmkutils/memory/smart_ptr.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void CompareMessages(const du::Lmtrb& table, const lmktest::ReferenceTable& reference) {
  du::HashMap<du::Symbol, du::Symbol> strings;
  table.AddAllStrings(strings);
  Require(strings.size() == reference.messages.size());
  for (const auto& [tag, text] : reference.messages) {
    const auto found = strings.find(tag);
    Require(found != strings.end() && found->second == text);
    const long long count = lmktest::ReferenceArgumentCount(text);
    std::ostringstream out;
    if (count > 100) {
      Require(!table.BuildLocalizedString(out, tag.c_str(), true));
      continue;
    }
    const std::vector<std::string> args(static_cast<std::size_t>(count), "{0}");
    Require(table.BuildLocalizedString(out, tag.c_str(), true, args));
    Require(out.str() == lmktest::ReferenceRender(text, args));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const lmktest::ReferenceTable reference = lmktest::ReadReference(bytes);
  for (const auto option : {du::Lmtrb::kAsWritten, du::Lmtrb::kPseudoLocalize}) {
    std::istringstream in(bytes);
    std::string error;
    try {
      const du::Lmtrb table(in, "fuzz.lmtrb", option);
      if (option == du::Lmtrb::kAsWritten) CompareMessages(table, reference);
    } catch (const du::LocalizerError& failure) {
      error = failure.what();
    }
    Require(error == reference.error);
  }
  return 0;
}
