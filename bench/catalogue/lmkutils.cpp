#include "bench/catalogue/rows.h"

namespace bench {
namespace {

std::string Command() {
  return LMK_BENCH_TOOL " catalog -o " + ResultFile() + ".lmkcat " + ManyFiles() + " > /dev/null";
}

const bool registered = (AddCatalogueRow(kOurs, Command), true);

}  // namespace
}  // namespace bench
