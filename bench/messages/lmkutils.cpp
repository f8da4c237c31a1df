#include <fstream>

#include "bench/messages/rows.h"

#include "lmkutils/l10n/lmtrb.h"

namespace bench {
namespace {

constexpr auto kUnchanged = static_cast<du::Lmtrb::PseudoLocalizeOption>(0);

class Ours {
 public:
  void Write(std::ostream& out, const char* tag) { table_.BuildLocalizedString(out, tag, false, arguments_); }
  std::string Build(const char* tag) {
    std::string text;
    table_.BuildLocalizedString(text, tag, false, arguments_);
    return text;
  }

 private:
  std::ifstream file_{MessageFile("messages.lmtrb")};
  du::Lmtrb table_{file_, "messages.lmtrb", kUnchanged};
  std::vector<std::string> arguments_{kFirst, kSecond};
};

void Load(benchmark::State& state) {
  for (auto _ : state) {
    std::ifstream file(MessageFile("messages.lmtrb"));
    const du::Lmtrb table(file, "messages.lmtrb", kUnchanged);
    benchmark::DoNotOptimize(&table);
  }
}

const bool registered = (AddSingle(kLoad, kOurs, Load), AddLoadedMessageRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
