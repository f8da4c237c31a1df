#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include "bench/localizer/rows.h"
#include <libintl.h>

namespace bench {
namespace {

constexpr char kFolder[] = LMK_BENCH_LOCALIZER "/bench/LC_MESSAGES/";

std::string Link(int number) {
  const std::string domain = "messages" + std::to_string(number);
  LinkFile(std::string(kFolder) + "messages.mo", kFolder + domain + ".mo");
  return domain;
}

// A domain is a file; the tables of all stay with the process, as ours do. The file is compiled: it is mapped
// into memory and searched where it lies.
class Gettext {
 public:
  Gettext() : Gettext("messages") {}
  explicit Gettext(const std::string& domain) : domain_(domain) {
    // Any locale but "C" will do; the language is chosen by the variable.
    std::setlocale(LC_MESSAGES, "C.UTF-8");
    setenv("LANGUAGE", "bench", 1);
    bindtextdomain(domain_.c_str(), LMK_BENCH_LOCALIZER);
    bind_textdomain_codeset(domain_.c_str(), "UTF-8");
  }

  std::string Plain(const char* tag) const { return dgettext(domain_.c_str(), tag); }
  std::string Filled(const char* tag, const char* first, const char* second) const {
    std::array<char, 512> text;
    const int length = std::snprintf(text.data(), text.size(), dgettext(domain_.c_str(), tag), first, second);
    return std::string(text.data(), static_cast<std::size_t>(length));
  }

 private:
  std::string domain_;
};

const bool registered = (AddMessageRows<Gettext>("gettext and snprintf"),
                         AddFirstRow<Gettext>("gettext and snprintf", Link), true);

}  // namespace
}  // namespace bench
