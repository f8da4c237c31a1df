// The intrusive reference count of shared library objects.
#ifndef LMKUTILS_MEMORY_REF_COUNTED_H
#define LMKUTILS_MEMORY_REF_COUNTED_H

#include <atomic>
#include <cstdint>

#include "lmkutils/export.h"

namespace du {

// A base for objects that live as long as some du::SmartPtr holds them. The count starts at 0 and belongs to
// the object: copying an object never copies it. All operations may be used by any thread, without locks.
//
// The count lies in the object, so it cannot tell that the object is gone: who takes a reference from a weak
// pointer (AddReferenceFromWeak) must keep the memory valid by a lock of its own.
class LMK_API RefCounted {
 public:
  RefCounted() noexcept = default;
  RefCounted(const RefCounted&) noexcept {}
  RefCounted& operator=(const RefCounted&) noexcept { return *this; }
  virtual ~RefCounted();

  // Asked by the holder whose release brought the count to 0: true when it may delete the object.
  virtual bool ZeroReferenceCountHook() const;

  // Add or take away 1 and return the new count. Taking away never deletes: that is the holder's business.
  // The owner is a tag for diagnostics, without effect.
  int AddReference() const noexcept { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  int AddReference(void* /*owner*/) const noexcept { return AddReference(); }
  int RemoveReference() const noexcept { return count_.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  int RemoveReference(void* /*owner*/) const noexcept { return RemoveReference(); }

  // Adds 1 unless the object is dying: returns the new count, or the observed one, 0 or less, when no
  // reference was taken.
  [[nodiscard]] int AddReferenceFromWeak() const noexcept;
  [[nodiscard]] int AddReferenceFromWeak(void* /*owner*/) const noexcept { return AddReferenceFromWeak(); }

  // A plain reading, out of date as soon as another thread holds the object.
  [[nodiscard]] int GetReferenceCount() const noexcept { return count_.load(std::memory_order_relaxed); }

  // Switches for diagnostics; they do nothing.
  void TraceOn() noexcept {}
  void TraceOff() noexcept {}
  void TraceCheck(bool, void*) const noexcept {}

 private:
  mutable std::atomic<std::int32_t> count_{0};
};

}  // namespace du

#endif
