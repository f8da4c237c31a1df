// The bucket counts of every hash table of the library: primes that roughly double.
#ifndef LMKUTILS_TEXT_HASH_SIZING_H
#define LMKUTILS_TEXT_HASH_SIZING_H

#include "lmkutils/export.h"

namespace du {

// The first bucket count strictly greater than n; MaxBucketSize() when there is none. A table that is about
// to hold more entries than it has buckets grows to HashNextPrime(entries). Any thread.
LMK_API unsigned HashNextPrime(unsigned n) noexcept;

// The largest bucket count, 4294967291.
LMK_API unsigned MaxBucketSize() noexcept;

}  // namespace du

#endif
