#include "lmkutils/memory/internal/malloc_ctrl_registry_impl.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <stdexcept>

#include "lmkutils/memory/malloc_ctrl.h"
#include "lmkutils/os/process_end.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/singleton.h"
#include "lmkutils/time/timer.h"

namespace du {
namespace internal {
namespace {

using dp::internal::ScopedLock;

// Static: at the end of the process it stays as it is, since other threads may still be in it.
alignas(MallocCtrlRegistryImpl) unsigned char storage[sizeof(MallocCtrlRegistryImpl)];

struct RegistryTraits {
  using Object = MallocCtrlRegistryImpl;
  static void Prepare() {}
  static Object* Create() {
    try {
      return ::new (storage) Object;
    } catch (const std::exception&) {  // a lock that cannot be had is a shortage like any other
      throw std::bad_alloc();
    }
  }
  static void Destroy(Object* registry) noexcept {
    const bool wasScheduled = dp::internal::Singleton<RegistryTraits>::IsDestroyed();
    if (!wasScheduled || !os::ProcessIsEnding()) registry->~MallocCtrlRegistryImpl();
  }
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<MallocCtrlRegistry*>(nullptr)); }
};

using RegistrySingleton = dp::internal::Singleton<RegistryTraits>;

// Releases a lock that TryWriteLock may have taken.
class OptionalWriter {
 public:
  explicit OptionalWriter(dp::ReadWriteLock& lock) : lock_(lock), owns_(lock.TryWriteLock()) {}
  OptionalWriter(const OptionalWriter&) = delete;
  OptionalWriter& operator=(const OptionalWriter&) = delete;
  ~OptionalWriter() {
    if (owns_) lock_.WriteUnlock();
  }
  explicit operator bool() const noexcept { return owns_; }

 private:
  dp::ReadWriteLock& lock_;
  const bool owns_;
};

class Writer {
 public:
  explicit Writer(dp::ReadWriteLock& lock) : lock_(lock) { lock_.WriteLock(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { lock_.WriteUnlock(); }

 private:
  dp::ReadWriteLock& lock_;
};

// Takes one mention of `index` out, from the end: who came last mostly goes first.
void RemoveOne(MallocVector<unsigned>& list, unsigned index) noexcept {
  const auto last = std::find(list.rbegin(), list.rend(), index);
  list.erase(std::next(last).base());
}

}  // namespace

class MallocCtrlRegistryImpl::ReadScope {
 public:
  explicit ReadScope(const MallocCtrlRegistryImpl& registry) : registry_(registry) {
    registry_.lock_.ReadLock();
  }
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;
  ~ReadScope() {
    registry_.lock_.ReadUnlock();
    registry_.MergeIfFree();
  }

 private:
  const MallocCtrlRegistryImpl& registry_;
};

MallocCtrlRegistryImpl& MallocCtrlRegistryImpl::Get() {
  return RegistrySingleton::Instance();
}

MallocCtrlRegistryImpl* MallocCtrlRegistryImpl::Existing() noexcept {
  return RegistrySingleton::Existing();
}

MallocCtrlRegistryImpl::MallocCtrlRegistryImpl() {
  dp::internal::RequireUsable(leaf_);
}

MallocCtrlRegistryImpl::~MallocCtrlRegistryImpl() = default;

void MallocCtrlRegistryImpl::NoteChange() noexcept {
  lastChange_.store(Timer::GetRawValue(), std::memory_order_relaxed);
}

void MallocCtrlRegistryImpl::Register(MallocCtrl* control, ControlState state) {
  if (control == nullptr) return;
  const OptionalWriter writer(lock_);
  const ScopedLock guard(leaf_);
  if (FindLocked(control) != nullptr) return;
  AddPending({.control = control, .supplier = kNone, .consumer = kNone});
  try {
    index_.emplace(control, Known{.index = count_, .state = state});
  } catch (...) {
    pending_.pop_back();
    throw;
  }
  ++count_;
  NoteChange();
  if (writer) Merge();
}

void MallocCtrlRegistryImpl::Publish(MallocCtrl* control) noexcept {
  const ScopedLock guard(leaf_);
  const auto found = index_.find(control);
  if (found != index_.end()) found->second.state = ControlState::kPublished;
}

void MallocCtrlRegistryImpl::UnregisterCtrl(MallocCtrl* control) {
  if (os::OtherThreadsKilled()) return;  // perhaps with one of the locks; nobody walks any more
  {
    const ScopedLock guard(leaf_);
    if (FindLocked(control) == nullptr) return;
  }
  const Writer writer(lock_);
  const ScopedLock guard(leaf_);
  Merge();
  const Known* known = FindLocked(control);
  if (known == nullptr) return;
  const unsigned gone = known->index;
  // Changes still wait only if memory for their merging is short.
  std::erase_if(pending_, [gone](const Change& change) {
    return change.consumer != kNone && (change.supplier == gone || change.consumer == gone);
  });
  for (Change& change : pending_) {
    if (change.control == control) change.control = nullptr;
  }
  if (gone < entries_.size()) {
    Entry& entry = entries_[gone];
    // As often as one end mentions the other, the other mentions the one.
    for (const unsigned supplier : entry.suppliers) RemoveOne(entries_[supplier].consumers, gone);
    for (const unsigned consumer : entry.consumers) RemoveOne(entries_[consumer].suppliers, gone);
    entry = Entry{};
  }
  index_.erase(control);
  NoteChange();
}

void MallocCtrlRegistryImpl::RegisterRelationship(MallocCtrl* supplier, MallocCtrl* consumer) {
  {
    const OptionalWriter writer(lock_);
    const ScopedLock guard(leaf_);
    const Known* from = FindLocked(supplier);
    const Known* to = FindLocked(consumer);
    if (from != nullptr && to != nullptr) {
      AddPending({.control = nullptr, .supplier = from->index, .consumer = to->index});
      NoteChange();
      if (writer) Merge();
      return;
    }
  }
  throw std::logic_error(
      "MallocCtrlRegistry::RegisterRelationship() both supplier and consumer must be preregistered.");
}

std::int64_t MallocCtrlRegistryImpl::GetLastChangeTime() const {
  const ReadScope reading(*this);
  return lastChange_.load(std::memory_order_relaxed);
}

unsigned MallocCtrlRegistryImpl::GetNumSuppliers(unsigned index) const {
  return CountOf(index, &Entry::suppliers);
}

unsigned MallocCtrlRegistryImpl::GetSupplier(unsigned index, unsigned k) const {
  return ElementOf(index, k, &Entry::suppliers);
}

unsigned MallocCtrlRegistryImpl::GetNumConsumers(unsigned index) const {
  return CountOf(index, &Entry::consumers);
}

unsigned MallocCtrlRegistryImpl::GetConsumer(unsigned index, unsigned k) const {
  return ElementOf(index, k, &Entry::consumers);
}

unsigned MallocCtrlRegistryImpl::GetNumCtrls() const {
  const ReadScope reading(*this);
  const ScopedLock guard(leaf_);
  return count_;
}

MallocCtrl* MallocCtrlRegistryImpl::GetCtrl(unsigned index) const {
  const ReadScope reading(*this);
  if (index < entries_.size()) return entries_[index].control;
  const ScopedLock guard(leaf_);
  std::size_t next = entries_.size();
  for (const Change& change : pending_) {
    if (change.consumer == kNone && next++ == index) return change.control;
  }
  return nullptr;
}

unsigned MallocCtrlRegistryImpl::GetCtrlIndex(MallocCtrl* control) const {
  const ReadScope reading(*this);
  const ScopedLock guard(leaf_);
  const Known* known = FindLocked(control);
  return known != nullptr ? known->index : kNone;
}

void MallocCtrlRegistryImpl::VisitAll(MallocCtrlVisitor* visitor) {
  const ReadScope reading(*this);
  for (const unsigned index : VisitOrder()) {
    if (MallocCtrl* control = PublishedAt(index)) control->Accept(visitor);
  }
}

void MallocCtrlRegistryImpl::AddPending(const Change& change) {
  pending_.push_back(change);
  hasPending_.store(true, std::memory_order_relaxed);
}

void MallocCtrlRegistryImpl::AddRelationship(MallocVector<Entry>& entries, unsigned supplier,
                                             unsigned consumer) {
  MallocVector<unsigned>& consumers = entries[supplier].consumers;
  consumers.push_back(consumer);
  try {
    entries[consumer].suppliers.push_back(supplier);
  } catch (...) {
    consumers.pop_back();
    throw;
  }
}

void MallocCtrlRegistryImpl::Merge() noexcept {
  std::size_t merged = 0;
  try {
    for (; merged < pending_.size(); ++merged) {
      const Change& change = pending_[merged];
      if (change.consumer != kNone) {
        AddRelationship(entries_, change.supplier, change.consumer);
      } else {
        entries_.push_back(Entry{.control = change.control, .suppliers = {}, .consumers = {}});
      }
    }
  } catch (const std::bad_alloc&) {
    // The rest waits for a better moment; every query knows of it.
  }
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(merged));
  hasPending_.store(!pending_.empty(), std::memory_order_relaxed);
}

void MallocCtrlRegistryImpl::MergeIfFree() const noexcept {
  if (!hasPending_.load(std::memory_order_relaxed)) return;
  const OptionalWriter writer(lock_);
  if (!writer) return;
  const ScopedLock guard(leaf_);
  const_cast<MallocCtrlRegistryImpl*>(this)->Merge();  // changes where the answers stand, not the answers
}

const MallocCtrlRegistryImpl::Known* MallocCtrlRegistryImpl::FindLocked(MallocCtrl* control) const noexcept {
  const auto found = index_.find(control);
  return found != index_.end() ? &found->second : nullptr;
}

unsigned MallocCtrlRegistryImpl::CountOf(unsigned index, List list) const {
  const ReadScope reading(*this);
  const ScopedLock guard(leaf_);
  if (index >= count_) return kNone;
  std::size_t count = index < entries_.size() ? (entries_[index].*list).size() : 0;
  for (const Change& change : pending_) {
    if (change.consumer == kNone) continue;
    const unsigned owner = list == &Entry::suppliers ? change.consumer : change.supplier;
    if (owner == index) ++count;
  }
  return static_cast<unsigned>(std::min<std::size_t>(count, kNone));
}

unsigned MallocCtrlRegistryImpl::ElementOf(unsigned index, unsigned k, List list) const {
  const ReadScope reading(*this);
  const ScopedLock guard(leaf_);
  std::size_t next = 0;
  if (index < entries_.size()) {
    const MallocVector<unsigned>& elements = entries_[index].*list;
    if (k < elements.size()) return elements[k];
    next = elements.size();
  }
  for (const Change& change : pending_) {
    if (change.consumer == kNone) continue;
    const bool suppliers = list == &Entry::suppliers;
    if ((suppliers ? change.consumer : change.supplier) != index) continue;
    if (next++ == k) return suppliers ? change.supplier : change.consumer;
  }
  return kNone;
}

MallocVector<unsigned> MallocCtrlRegistryImpl::VisitOrder() const {
  struct Step {
    unsigned index;
    std::size_t nextConsumer;
  };
  MallocVector<unsigned> order;
  order.reserve(entries_.size());
  MallocVector<bool> reached(entries_.size());
  MallocVector<Step> path;  // instead of recursion: a chain of suppliers may be long
  for (unsigned root = 0; root < entries_.size(); ++root) {
    if (reached[root] || entries_[root].control == nullptr) continue;
    reached[root] = true;
    path.push_back({.index = root, .nextConsumer = 0});
    while (!path.empty()) {
      Step& step = path.back();
      const MallocVector<unsigned>& consumers = entries_[step.index].consumers;
      if (step.nextConsumer == consumers.size()) {
        order.push_back(step.index);
        path.pop_back();
        continue;
      }
      const unsigned consumer = consumers[step.nextConsumer++];
      if (consumer >= entries_.size()) throw std::out_of_range("invalid vector subscript");
      if (reached[consumer]) continue;
      reached[consumer] = true;
      path.push_back({.index = consumer, .nextConsumer = 0});
    }
  }
  return order;
}

MallocCtrl* MallocCtrlRegistryImpl::PublishedAt(unsigned index) const noexcept {
  MallocCtrl* control = entries_[index].control;
  const ScopedLock guard(leaf_);
  const Known* known = control != nullptr ? FindLocked(control) : nullptr;
  return known != nullptr && known->state == ControlState::kPublished ? control : nullptr;
}

void MallocCtrlRegistryImpl::ReleaseInForkedChild() noexcept {
  leaf_.Unlock();
  try {
    if (lock_.TryWriteLock()) {
      lock_.WriteUnlock();
      return;
    }
    // Threads that are no more have it, or wait for it. What they waited on is left alone.
    auto* const lock = ::new (static_cast<void*>(&lock_)) dp::ReadWriteLock;
    static_cast<void>(lock);
  } catch (const std::exception&) {
    // No memory for a lock: the old one stays.
  }
}

bool MallocCtrlRegistryImpl::IsInSaneState() const {
  const ReadScope reading(*this);
  const ScopedLock guard(leaf_);
  std::size_t live = 0;
  std::size_t total = entries_.size();
  for (unsigned index = 0; index < entries_.size(); ++index) {
    const Entry& entry = entries_[index];
    if (entry.control == nullptr) {
      if (!entry.suppliers.empty() || !entry.consumers.empty()) return false;
      continue;
    }
    ++live;
    const Known* known = FindLocked(entry.control);
    if (known == nullptr || known->index != index) return false;
    for (const unsigned supplier : entry.suppliers) {
      if (supplier >= entries_.size()) return false;
      const auto& back = entries_[supplier].consumers;
      if (std::count(back.begin(), back.end(), index) !=
          std::count(entry.suppliers.begin(), entry.suppliers.end(), supplier)) {
        return false;
      }
    }
  }
  for (const Change& change : pending_) {
    if (change.consumer != kNone) continue;
    ++total;
    if (change.control != nullptr) ++live;
  }
  return total == count_ && live == index_.size();
}

}  // namespace internal

MallocCtrlRegistry& MallocCtrlRegistry::Instance() {
  return internal::MallocCtrlRegistryImpl::Get();
}

MallocCtrlRegistry::~MallocCtrlRegistry() = default;

unsigned GetLongevity(MallocCtrlRegistry*) noexcept {
  return 0xFFFFFFFFU;
}

}  // namespace du
