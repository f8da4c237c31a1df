#include "lmkutils/text/internal/symbol_statistics.h"

#include <cstdio>

namespace du::internal {
namespace {

// One line of the report; none is longer than its format with a few dozen digits.
template <class... Values>
std::string Line(const char* format, Values... values) {
  char line[400];
  const int length = std::snprintf(line, sizeof line, format, values...);
  return length < 0 ? std::string() : std::string(line);
}

}  // namespace

SymbolStatistics CountBuckets(unsigned items, const std::vector<unsigned>& entriesOfBucket) {
  SymbolStatistics statistics;
  statistics.items = items;
  statistics.buckets = static_cast<unsigned>(entriesOfBucket.size());
  for (const unsigned entries : entriesOfBucket) ++statistics.bucketsOfSize[entries == 0 ? 0 : entries - 1];
  return statistics;
}

std::vector<std::string> FormatStatistics(const SymbolStatistics& statistics) {
  const double items = statistics.items;
  const double buckets = statistics.buckets;
  std::vector<std::string> lines = {
      "du::Symbol statistics.\n",
      "=====================.\n",
      Line("Items   in table     %10d.\n", static_cast<int>(statistics.items)),
      Line("Buckets in table     %10d.\n", static_cast<int>(statistics.buckets)),
      Line("Average bucket usage %10.2f.\n\n", items / buckets),
      "BucketUsage details\n",
      "====================\n\n",
      "Elems in Bucket | Number of buckets | Elems in buckets of this size\n",
      "----------------|-------------------|------------------------------\n",
  };

  unsigned totalBuckets = 0;
  unsigned totalElements = 0;
  double squares = 0;
  double absolute = 0;
  for (const auto& [size, count] : statistics.bucketsOfSize) {
    lines.push_back(Line("%15u |%18u | %29u\n", size, count, size * count));
    totalBuckets += count;
    totalElements += size * count;
    const double s = size;
    const double b = count;
    squares += b * s * s;
    absolute += b * s * (s + 1) / 2;
  }
  lines.push_back(Line("Totals          |%18u | %29u\n", totalBuckets, totalElements));

  const double random = items / (2 * buckets) * (items + 2 * buckets - 1);
  lines.push_back(Line("WeightedQueueSize is   %7.2f\n", squares / totalElements));
  lines.push_back(Line("Absolute uniformity is %7.2f\n", absolute));
  lines.push_back(Line("Random Uniformity is   %7.2f\n", random));
  lines.push_back(Line("Relative Uniformity is %7.2f\n", random / absolute));
  return lines;
}

}  // namespace du::internal
