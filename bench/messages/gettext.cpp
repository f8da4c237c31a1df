#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include "bench/messages/rows.h"
#include <libintl.h>

namespace bench {
namespace {

// Keeps what it has loaded for the life of the process: loading cannot be measured again and again.
class Gettext {
 public:
  Gettext() {
    // Any locale but "C" will do; the language is chosen by the variable.
    std::setlocale(LC_MESSAGES, "C.UTF-8");
    setenv("LANGUAGE", "bench", 1);
    bindtextdomain("messages", LMK_BENCH_MESSAGES);
    bind_textdomain_codeset("messages", "UTF-8");
  }
  void Write(std::ostream& out, const char* tag) {
    std::array<char, 512> text;
    out.write(text.data(), Print(text, tag));
  }
  std::string Build(const char* tag) {
    std::array<char, 512> text;
    return std::string(text.data(), static_cast<std::size_t>(Print(text, tag)));
  }

 private:
  int Print(std::array<char, 512>& text, const char* tag) const {
    return std::snprintf(text.data(), text.size(), dgettext("messages", tag), first_.c_str(),
                         second_.c_str());
  }
  std::string first_ = kFirst, second_ = kSecond;
};

const bool registered = (AddMessageRows<Gettext>("gettext and snprintf"), true);

}  // namespace
}  // namespace bench
