#include "bench/queries/pcre2.h"

#include "bench/queries/multimap.h"
#include "bench/queries/rows.h"

namespace bench {
namespace {

const bool registered = (AddQueryRows<Multimap<Pcre2Regex>>("std::multimap, PCRE2"), true);

}  // namespace
}  // namespace bench
