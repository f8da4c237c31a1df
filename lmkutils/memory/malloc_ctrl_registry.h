// du::MallocCtrlRegistry: every allocation control of the process and who supplies whom.
#ifndef LMKUTILS_MEMORY_MALLOC_CTRL_REGISTRY_H
#define LMKUTILS_MEMORY_MALLOC_CTRL_REGISTRY_H

#include <cstdint>

#include "lmkutils/export.h"
#include "lmkutils/platform/read_write_lock.h"

namespace du {

class MallocCtrl;
class MallocCtrlVisitor;

// The process-wide graph of controls. An entry is named by its index, which is given once and never used
// again: after its control is gone the entry stays, empty. Thread-safe; an answer may be out of date when it
// arrives unless the caller holds GetLock() for reading over several calls.
//
// A registration or relationship made while somebody holds that lock for reading, the caller included, is
// noted at once and never waits; its change to the table follows when the readers are gone. Unregistering
// waits for them.
class LMK_API MallocCtrlRegistry {
 public:
  // What "no such thing" is in the operations that return an index or a count.
  static constexpr unsigned kNone = 0xFFFFFFFFU;

  // The registry, made on first use. Throws dp::DeadReference after its end at process exit.
  static MallocCtrlRegistry& Instance();

  // Adds an entry for `control`; ignored when it is registered, or null. Throws std::bad_alloc, changing
  // nothing.
  virtual void RegisterCtrl(MallocCtrl* control) = 0;
  // Empties the entry of `control` and takes it out of all lists; an unknown pointer is ignored.
  virtual void UnregisterCtrl(MallocCtrl* control) = 0;
  // Notes that `consumer` takes memory from `supplier`, as often as it is said. Throws std::logic_error,
  // changing nothing, when either is unknown; std::bad_alloc likewise.
  virtual void RegisterRelationship(MallocCtrl* supplier, MallocCtrl* consumer) = 0;
  // The lock over table and relationships; hold it for reading only.
  virtual dp::ReadWriteLock& GetLock() = 0;
  // du::Timer::GetRawValue() at the last change.
  virtual std::int64_t GetLastChangeTime() const = 0;
  virtual unsigned GetNumSuppliers(unsigned index) const = 0;
  virtual unsigned GetSupplier(unsigned index, unsigned k) const = 0;
  virtual unsigned GetNumConsumers(unsigned index) const = 0;
  virtual unsigned GetConsumer(unsigned index, unsigned k) const = 0;
  // The number of entries, emptied ones included.
  virtual unsigned GetNumCtrls() const = 0;
  // The control at an index; null when it is gone or there is no such entry.
  virtual MallocCtrl* GetCtrl(unsigned index) const = 0;
  // The index of a control; kNone when it is not registered.
  virtual unsigned GetCtrlIndex(MallocCtrl* control) const = 0;
  // Visits every live control once, each after all that consume from it, otherwise in the order of indexes,
  // under the read lock. What the visitor throws ends the walk and is passed on. Throws std::bad_alloc before
  // the first visit.
  virtual void VisitAll(MallocCtrlVisitor* visitor) = 0;
  virtual ~MallocCtrlRegistry();
};

// 0xFFFFFFFF: the registry outlives every control that another singleton owns.
LMK_API unsigned GetLongevity(MallocCtrlRegistry*) noexcept;

}  // namespace du

#endif
