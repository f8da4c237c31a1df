// The system's own programs, with the checksums one after the other or on both processors.
#include "bench/catalogue/rows.h"

namespace bench {
namespace {

std::string FindAndCksum(const std::string& options) {
  return "find " + ManyFiles() + " -type f -printf '%p %s %T+\\n' > " + ResultFile() + ".names && find " +
         ManyFiles() + " -type f -print0 | xargs -0 -n 2000 " + options + " cksum > " + ResultFile() +
         ".sums";
}

bool Register() {
  AddCatalogueRow("find -printf and cksum", [] { return FindAndCksum(""); });
  AddCatalogueRow("find -printf and cksum, two at a time", [] { return FindAndCksum("-P 2"); });
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
