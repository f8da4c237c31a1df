// du::MallocBlockStat: how many blocks of one size an allocator has.
#ifndef LMKUTILS_MEMORY_MALLOC_BLOCK_STAT_H
#define LMKUTILS_MEMORY_MALLOC_BLOCK_STAT_H

namespace du {

struct MallocBlockStat {
  unsigned size = 0;   // bytes of one block
  unsigned count = 0;  // blocks of that size
};

}  // namespace du

#endif
