#include <iterator>

#include "bench/time/rows.h"
#include <fmt/chrono.h>
#include <fmt/compile.h>

namespace bench {
namespace {

// The format string is compiled, which is the library's fastest way.
template <bool kLocal>
struct Fmt {
  static void Print(std::ostream& out, std::int64_t milliseconds) {
    const std::time_t seconds = milliseconds / 1000;
    const std::tm parts = kLocal ? fmt::localtime(seconds) : fmt::gmtime(seconds);
    fmt::memory_buffer text;
    fmt::format_to(std::back_inserter(text), FMT_COMPILE("{:%H:%M:%S}.{:03}  {:%d %b %Y}"), parts,
                   milliseconds % 1000, parts);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
};

const bool registered =
    (AddInstantRows<Fmt<false>>("UTC", "fmt"), AddInstantRows<Fmt<true>>("local", "fmt"), true);

}  // namespace
}  // namespace bench
