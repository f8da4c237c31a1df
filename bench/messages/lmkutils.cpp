#include <fstream>
#include <sstream>

#include "bench/messages/rows.h"

#include "lmkutils/l10n/lmtrb.h"

namespace bench {
namespace {

constexpr auto kUnchanged = static_cast<du::Lmtrb::PseudoLocalizeOption>(0);

class Ours {
 public:
  void Write(std::ostream& out, const char* tag) { table_.BuildLocalizedString(out, tag, false, arguments_); }
  // The stream is kept: making one costs more than the message.
  std::string Build(const char* tag) {
    stream_.str(std::string());
    Write(stream_, tag);
    return stream_.str();
  }

 private:
  std::ifstream file_{MessageFile("messages.lmtrb")};
  du::Lmtrb table_{file_, "messages.lmtrb", kUnchanged};
  std::vector<std::string> arguments_{kFirst, kSecond};
  std::ostringstream stream_;
};

void Load(benchmark::State& state) {
  for (auto _ : state) {
    std::ifstream file(MessageFile("messages.lmtrb"));
    const du::Lmtrb table(file, "messages.lmtrb", kUnchanged);
    benchmark::DoNotOptimize(&table);
  }
}

const bool registered = (AddSingle(kLoad, kOurs, Load), AddMessageRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
