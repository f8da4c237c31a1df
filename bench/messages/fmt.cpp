#include <iterator>

#include "bench/messages/rows.h"
#include "bench/messages/standard_map.h"
#include <fmt/format.h>

namespace bench {
namespace {

class Fmt {
 public:
  void Write(std::ostream& out, const char* tag) {
    fmt::memory_buffer text;
    fmt::format_to(std::back_inserter(text), fmt::runtime(map_.find(std::string_view(tag))->second), first_,
                   second_);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
  std::string Build(const char* tag) {
    return fmt::format(fmt::runtime(map_.find(std::string_view(tag))->second), first_, second_);
  }

 private:
  MessageMap map_ = LoadMap();
  std::string first_ = kFirst, second_ = kSecond;
};

const bool registered = (AddLoadedMessageRows<Fmt>("std::unordered_map and fmt"), true);

}  // namespace
}  // namespace bench
