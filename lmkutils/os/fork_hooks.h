// Locks across fork.
#ifndef LMKUTILS_OS_FORK_HOOKS_H
#define LMKUTILS_OS_FORK_HOOKS_H

namespace os {

using ForkHook = void (*)() noexcept;

// Has `before` called by each thread that is about to fork, and `after` by that thread afterwards, in the
// parent and in the child: who takes a lock in the one and releases it in the other has it free, and what it
// guards whole, in the child. Hooks of later calls run before earlier ones in `before`, after them in
// `after`. False when there is no memory. Where processes do not fork it does nothing.
bool AddForkHooks(ForkHook before, ForkHook after) noexcept;

}  // namespace os

#endif
