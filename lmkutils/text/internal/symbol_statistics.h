// The figures that Symbol::DumpStats reports.
#ifndef LMKUTILS_TEXT_INTERNAL_SYMBOL_STATISTICS_H
#define LMKUTILS_TEXT_INTERNAL_SYMBOL_STATISTICS_H

#include <map>
#include <string>
#include <vector>

namespace du::internal {

struct SymbolStatistics {
  unsigned items = 0;
  unsigned buckets = 0;
  // How many buckets there are of each size. A bucket's size is its number of entries less one, and 0 for an
  // empty one: the steps from its first entry to its last.
  std::map<unsigned, unsigned> bucketsOfSize;
};

// The figures of a table whose buckets hold so many entries each.
[[nodiscard]] SymbolStatistics CountBuckets(unsigned items, const std::vector<unsigned>& entriesOfBucket);

// The report, one trace record an element. Quotients by zero print as the run-time prints infinity or NaN.
[[nodiscard]] std::vector<std::string> FormatStatistics(const SymbolStatistics& statistics);

}  // namespace du::internal

#endif
