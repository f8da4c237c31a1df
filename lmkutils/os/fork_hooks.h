// Locks across fork.
#ifndef LMKUTILS_OS_FORK_HOOKS_H
#define LMKUTILS_OS_FORK_HOOKS_H

namespace os {

// The order in which fork takes the locks, the one in which threads nest them: who holds an inner lock never
// asks for an outer one. Each rank has one pair of hooks.
enum class ForkRank : unsigned { kOutermost, kOuter, kMiddle, kInner, kInnermost };

using ForkHook = void (*)() noexcept;

struct ForkHooks {
  ForkHook before;    // called by each thread that is about to fork
  ForkHook inParent;  // called by that thread afterwards
  ForkHook inChild;   // called by the only thread of the child, whose other threads vanished where they stood
};

// Who takes a lock in `before` and releases it in the others has it free, and what it guards whole, in the
// child of every fork that begins after this call. False when there is no memory. Where processes do not fork
// it does nothing.
bool AddForkHooks(ForkRank rank, const ForkHooks& hooks) noexcept;

}  // namespace os

#endif
