#include "lmkutils/memory/malloc_ctrl.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "lmkutils/memory/fixed_size_malloc_ctrl.h"
#include "lmkutils/memory/general_malloc_ctrl.h"
#include "lmkutils/memory/hand_off_malloc_ctrl.h"
#include "lmkutils/memory/internal/attention.h"
#include "lmkutils/memory/internal/malloc_ctrl_registry_impl.h"
#include "lmkutils/memory/malloc_ctrl_visitor.h"
#include "lmkutils/memory/system_malloc_ctrl.h"

namespace du {
namespace {

constexpr const char* kUnnamed = "<Unnamed Malloc Control>";

std::array<char, MallocCtrl::NAME_LENGTH> CheckedName(const char* name) {
  if (name == nullptr) name = kUnnamed;
  const std::size_t length = std::strlen(name);
  if (length >= MallocCtrl::NAME_LENGTH) {
    throw std::invalid_argument("du::MallocCtrl: a name has at most 63 bytes.");
  }
  std::array<char, MallocCtrl::NAME_LENGTH> result{};
  std::copy_n(name, length, result.begin());
  return result;
}

}  // namespace

MallocCtrl::MallocCtrl(const char* name) : name_(CheckedName(name)) {
  internal::MallocCtrlRegistryImpl::Get().Register(this, internal::ControlState::kPublished);
}

MallocCtrl::MallocCtrl(const char* name, Deferred) : name_(CheckedName(name)) {
  internal::MallocCtrlRegistryImpl::Get().Register(this, internal::ControlState::kUnderConstruction);
}

MallocCtrl::MallocCtrl(const MallocCtrl& other) noexcept : name_(other.name_) {
  SetFlag(other.ShouldFailOnNextRequest());
}

MallocCtrl& MallocCtrl::operator=(const MallocCtrl& other) noexcept {
  name_ = other.name_;
  SetFlag(other.ShouldFailOnNextRequest());
  return *this;
}

MallocCtrl::~MallocCtrl() {
  Retire();
  SetFlag(false);
}

void MallocCtrl::SetFlag(bool fail) noexcept {
  if (failOnNextRequest_.exchange(fail, std::memory_order_relaxed) == fail) return;
  // Threads that serve themselves from their caches must hear of it.
  if (fail) {
    internal::attention.AddFailing();
  } else {
    internal::attention.RemoveFailing();
  }
}

void MallocCtrl::Publish() noexcept {
  if (auto* registry = internal::MallocCtrlRegistryImpl::Existing()) registry->Publish(this);
}

void MallocCtrl::Retire() noexcept {
  if (auto* registry = internal::MallocCtrlRegistryImpl::Existing()) registry->UnregisterCtrl(this);
}

void MallocCtrl::Accept(MallocCtrlVisitor*) {
  throw std::logic_error("du::MallocCtrl::Accept(MallocCtrlVisitor*) has not been overridden.");
}

void MallocCtrl::GetAllocationStats(unsigned*, unsigned*) const {
  throw std::logic_error("du::MallocCtrl::GetAllocationStats() has not been overridden.");
}

void MallocCtrl::SetFailOnNextRequest() noexcept {
  SetFlag(true);
}

void MallocCtrl::ClearFailOnNextRequest() noexcept {
  SetFlag(false);
}

void SystemMallocCtrl::Accept(MallocCtrlVisitor* visitor) {
  visitor->Visit(this);
}

void FixedSizeMallocCtrl::Accept(MallocCtrlVisitor* visitor) {
  visitor->Visit(this);
}

void FixedSizeMallocCtrl::GetAllocationDetails(unsigned*, unsigned*, unsigned*) const {
  throw std::logic_error("du::FixedSizeMallocCtrl::GetAllocationDetails() has not been overridden.");
}

void GeneralMallocCtrl::Accept(MallocCtrlVisitor* visitor) {
  visitor->Visit(this);
}

void GeneralMallocCtrl::GetAllocationDetails(unsigned*, MallocBlockStat**, unsigned*,
                                             MallocBlockStat**) const {
  throw std::logic_error("du::GeneralMallocCtrl::GetAllocationDetails() has not been overridden.");
}

void HandOffMallocCtrl::Accept(MallocCtrlVisitor* visitor) {
  visitor->Visit(this);
}

MallocCtrlVisitor::~MallocCtrlVisitor() = default;

void MallocCtrlVisitor::Visit(HandOffMallocCtrl*) {
  throw std::logic_error("du::MallocCtrlVisitor::Visit(HandOffMallocCtrl*) has not been overridden.");
}

void MallocCtrlVisitor::Visit(GeneralMallocCtrl*) {
  throw std::logic_error("du::MallocCtrlVisitor::Visit(GeneralMallocCtrl*) has not been overridden.");
}

void MallocCtrlVisitor::Visit(FixedSizeMallocCtrl*) {
  throw std::logic_error("du::MallocCtrlVisitor::Visit(FixedSizeMallocCtrl*) has not been overridden.");
}

void MallocCtrlVisitor::Visit(SystemMallocCtrl*) {
  throw std::logic_error("du::MallocCtrlVisitor::Visit(SystemMallocCtrl*) has not been overridden.");
}

void MallocCtrlVisitor::Visit(MallocCtrl*) {
  throw std::logic_error("du::MallocCtrlVisitor::Visit(MallocCtrl*) has not been overridden.");
}

}  // namespace du
