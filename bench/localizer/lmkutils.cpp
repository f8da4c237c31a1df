#include "bench/localizer/rows.h"

#include "lmkutils/l10n/localizer.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"

namespace bench {
namespace {

// A copy of the messages in the installation that the rows use.
std::string Link(int number) {
  const std::string name = "messages" + std::to_string(number);
  LinkFile(LMK_BENCH_LOCALIZER "/messages.lmtrb", LMK_BENCH_LOCALIZER "/share/bench/en/" + name + ".lmtrb");
  return "bench:" + name;
}

class Ours {
 public:
  Ours() : Ours(Link(-1)) {}
  explicit Ours(const std::string& resource) : localizer_(resource.c_str()) {}

  std::string Plain(const char* tag) const { return localizer_.LocalizeMessage(tag); }
  std::string Filled(const char* tag, const char* first, const char* second) const {
    return localizer_.LocalizeMessage(tag, du::AssembleArgs() << first << second);
  }

 private:
  du::Localizer localizer_;
};

bool Install() {
  dp::Environment::Put("LUMORA_LANG", "en");
  return dp::LmInfo::SetInstallationRoot(LMK_BENCH_LOCALIZER);
}

const bool registered = (Install(), AddMessageRows<Ours>(kOurs), AddFirstRow<Ours>(kOurs, Link), true);

}  // namespace
}  // namespace bench
