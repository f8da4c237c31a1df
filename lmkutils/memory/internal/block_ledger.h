// Debug builds note which blocks are out, so that a block freed twice or with a wrong size is found at once.
#ifndef LMKUTILS_MEMORY_INTERNAL_BLOCK_LEDGER_H
#define LMKUTILS_MEMORY_INTERNAL_BLOCK_LEDGER_H

namespace du {
class ElementAllocator;
}

namespace du::internal {

#ifdef NDEBUG
inline constexpr bool kHasLedger = false;
#else
inline constexpr bool kHasLedger = true;
#endif

#ifndef NDEBUG
// `block`, of a size class, goes to the pool's caller. Null is ignored.
void NoteHandedOut(void* block) noexcept;
// It comes back, as one of `expected`'s elements (null: of a class that was never used). Reports a fault with
// the name of the control that the block belongs to, or else of the pool, on the error stream and ends the
// process.
void NoteReturned(void* block, const ElementAllocator* expected, const char* pool) noexcept;
// Likewise for a block beyond the size classes that comes back; `requested` is the size that `pool` noted for
// it, 0 when it has no such block.
void CheckLargeReturned(const void* block, unsigned size, unsigned requested, const char* pool) noexcept;
#else
inline void NoteHandedOut(void*) noexcept {}
inline void NoteReturned(void*, const ElementAllocator*, const char*) noexcept {}
inline void CheckLargeReturned(const void*, unsigned, unsigned, const char*) noexcept {}
#endif

}  // namespace du::internal

#endif
