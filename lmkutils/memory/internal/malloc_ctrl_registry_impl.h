// The one implementation of du::MallocCtrlRegistry.
#ifndef LMKUTILS_MEMORY_INTERNAL_MALLOC_CTRL_REGISTRY_IMPL_H
#define LMKUTILS_MEMORY_INTERNAL_MALLOC_CTRL_REGISTRY_IMPL_H

#include <atomic>

#include "lmkutils/memory/internal/malloc_backed.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/platform/spin_lock.h"
#include "lmkutils/text/hash_map.h"

namespace du::internal {

// Whether walks may call a registered control.
enum class ControlState : unsigned char { kUnderConstruction, kPublished };

// Two locks. `lock_` guards the table of entries. `leaf_`, a spin lock under which nothing else is taken,
// guards the index of pointers, the states and the changes that wait: what registers a control or a
// relationship takes `lock_` for writing only if that is free at this moment, and otherwise leaves its change
// in `pending_`, which the next writer or the last reader to leave merges into the table. So creating a
// control never waits for a walk over all controls, not even for its own: a visitor that allocates may well
// be the first to need some size class. Queries answer from the table and the waiting changes together.
class MallocCtrlRegistryImpl final : public MallocCtrlRegistry {
 public:
  // As MallocCtrlRegistry::Instance().
  static MallocCtrlRegistryImpl& Get();
  // Null before the registry's making and after its end.
  static MallocCtrlRegistryImpl* Existing() noexcept;

  MallocCtrlRegistryImpl();
  ~MallocCtrlRegistryImpl() override;

  void Register(MallocCtrl* control, ControlState state);
  // Lets walks see a control that was registered under construction.
  void Publish(MallocCtrl* control) noexcept;

  void RegisterCtrl(MallocCtrl* control) override { Register(control, ControlState::kPublished); }
  void UnregisterCtrl(MallocCtrl* control) override;
  void RegisterRelationship(MallocCtrl* supplier, MallocCtrl* consumer) override;
  dp::ReadWriteLock& GetLock() override { return lock_; }
  std::int64_t GetLastChangeTime() const override;
  unsigned GetNumSuppliers(unsigned index) const override;
  unsigned GetSupplier(unsigned index, unsigned k) const override;
  unsigned GetNumConsumers(unsigned index) const override;
  unsigned GetConsumer(unsigned index, unsigned k) const override;
  unsigned GetNumCtrls() const override;
  MallocCtrl* GetCtrl(unsigned index) const override;
  unsigned GetCtrlIndex(MallocCtrl* control) const override;
  void VisitAll(MallocCtrlVisitor* visitor) override;

  // Around a fork: what the locks guard is whole meanwhile. The child gets both free, whoever had them.
  void HoldForFork() noexcept { leaf_.Lock(); }
  void ReleaseAfterFork() noexcept { leaf_.Unlock(); }
  void ReleaseInForkedChild() noexcept;

  // Whether index, table, lists and waiting changes agree with each other. For tests and debug builds.
  bool IsInSaneState() const;

 private:
  struct Entry {
    MallocCtrl* control = nullptr;  // null once unregistered
    MallocVector<unsigned> suppliers;
    MallocVector<unsigned> consumers;
  };
  using List = MallocVector<unsigned> Entry::*;

  // A change that waits: a new entry when `consumer` is kNone (its place in `entries_` follows from the
  // order), else a relationship between two entries.
  struct Change {
    MallocCtrl* control;
    unsigned supplier;
    unsigned consumer;
  };
  struct Known {
    unsigned index;
    ControlState state;
  };
  struct PointerHash {
    std::size_t operator()(const MallocCtrl* control) const noexcept {
      return reinterpret_cast<std::size_t>(control) >> 2;
    }
  };
  using Index = HashMap<MallocCtrl*, Known, PointerHash, std::equal_to<MallocCtrl*>,
                        MallocBacked<std::pair<MallocCtrl* const, Known>>>;

  class ReadScope;

  void AddPending(const Change& change);  // leaf_ held
  void Merge() noexcept;                  // lock_ held for writing, leaf_ held
  void MergeIfFree() const noexcept;
  static void AddRelationship(MallocVector<Entry>& entries, unsigned supplier, unsigned consumer);
  const Known* FindLocked(MallocCtrl* control) const noexcept;  // leaf_ held
  unsigned CountOf(unsigned index, List list) const;
  unsigned ElementOf(unsigned index, unsigned k, List list) const;
  MallocVector<unsigned> VisitOrder() const;  // lock_ held for reading
  MallocCtrl* PublishedAt(unsigned index) const noexcept;
  void NoteChange() noexcept;

  mutable dp::ReadWriteLock lock_;
  MallocVector<Entry> entries_;

  mutable dp::SpinLock leaf_;
  Index index_;
  MallocVector<Change> pending_;
  unsigned count_ = 0;  // entries, waiting ones included
  std::atomic<bool> hasPending_{false};
  std::atomic<std::int64_t> lastChange_{0};
};

}  // namespace du::internal

#endif
