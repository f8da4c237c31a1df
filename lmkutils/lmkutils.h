// Every public header of the library.
#ifndef LMKUTILS_LMKUTILS_H
#define LMKUTILS_LMKUTILS_H

#include "lmkutils/export.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/memory/ref_counted.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/text/encoding.h"
#include "lmkutils/text/hash.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/hash_sizing.h"
#include "lmkutils/text/symbol.h"

#endif
