// du::MallocCtrl: the base of every allocator of the library.
#ifndef LMKUTILS_MEMORY_MALLOC_CTRL_H
#define LMKUTILS_MEMORY_MALLOC_CTRL_H

#include <array>
#include <atomic>

#include "lmkutils/export.h"

namespace du {

class MallocCtrlVisitor;

// An allocation control: an allocator with a name that stands in the process-wide MallocCtrlRegistry for its
// whole life, reports what it holds, and can be told to fail its requests so that out-of-memory paths can be
// tested. Controls are owned by whoever makes them. The fail flag may be set and read from any thread; a
// control is constructed and destroyed by one thread, while no other uses it.
class LMK_API MallocCtrl {
 public:
  // Room for a name, its terminating NUL included.
  static constexpr unsigned NAME_LENGTH = 64;

  // Registers the control under `name`; null is "<Unnamed Malloc Control>". Throws std::invalid_argument when
  // the name has NAME_LENGTH bytes or more, std::bad_alloc when the registry cannot grow, dp::DeadReference
  // after the registry's end; in each case nothing is registered.
  explicit MallocCtrl(const char* name);

  // Copies name and fail flag only: the copy is not registered.
  MallocCtrl(const MallocCtrl& other) noexcept;
  // Copies name and fail flag; a registered control stays registered, under its new name.
  MallocCtrl& operator=(const MallocCtrl& other) noexcept;

  // Unregisters the control; does nothing for a copy or after the registry's end.
  virtual ~MallocCtrl();

  // Calls the overload of `visitor` that belongs to this family of controls. The base's body throws
  // std::logic_error.
  virtual void Accept(MallocCtrlVisitor* visitor) = 0;

  // Writes the bytes handed out and the bytes held, 0xFFFFFFFF standing for more than fits; null pointers are
  // passed over. The base's body throws std::logic_error.
  virtual void GetAllocationStats(unsigned* allocated, unsigned* held) const = 0;

  // While the flag is set every request of the control fails; a failed request does not clear it.
  void SetFailOnNextRequest() noexcept;
  void ClearFailOnNextRequest() noexcept;
  bool ShouldFailOnNextRequest() const noexcept { return failOnNextRequest_.load(std::memory_order_relaxed); }

  // The name, never null, valid as long as the control.
  const char* GetName() const noexcept { return name_.data(); }

 protected:
  // Registers a control that walks pass over until Publish(): a walk in another thread must not meet an
  // object whose final class is not there yet. For classes that call Publish() last in their constructor and
  // Retire() first in their destructor.
  struct Deferred {};
  MallocCtrl(const char* name, Deferred);

  // From here on walks visit this control. Never throws: it is registered already.
  void Publish() noexcept;
  // Takes the control out of the registry, waiting for a walk that is under way. May be called more than
  // once.
  void Retire() noexcept;

 private:
  void SetFlag(bool fail) noexcept;

  std::array<char, NAME_LENGTH> name_;
  std::atomic<bool> failOnNextRequest_{false};
};

}  // namespace du

#endif
