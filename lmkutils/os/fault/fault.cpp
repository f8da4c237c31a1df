#include "lmkutils/os/fault/fault.h"

#include <atomic>
#include <mutex>

namespace os::fault {
namespace {

struct Switch {
  std::atomic<bool> armed{false};
  std::atomic<std::uint64_t> calls{0};
  std::mutex guard;  // of the plan
  Plan plan;
};

Switch& SwitchOf(Call call) noexcept {
  static Switch switches[static_cast<unsigned>(Call::kCount)];
  return switches[static_cast<unsigned>(call)];
}

}  // namespace

void Arm(Call call, const Plan& plan) noexcept {
  Switch& item = SwitchOf(call);
  const std::lock_guard lock(item.guard);
  item.plan = plan;
  item.calls = 0;
  item.armed = true;
}

void Disarm(Call call) noexcept {
  Switch& item = SwitchOf(call);
  item.armed = false;
  item.calls = 0;
}

std::uint64_t CountOf(Call call) noexcept {
  return SwitchOf(call).calls;
}

Verdict Consult(Call call) noexcept {
  Switch& item = SwitchOf(call);
  const std::uint64_t number = ++item.calls;
  if (!item.armed) return {};
  const std::lock_guard lock(item.guard);
  const Plan& plan = item.plan;
  if (number < plan.first || number - plan.first >= plan.count) return {};
  return {.fail = true, .error = plan.error, .cutTo = plan.cutTo};
}

}  // namespace os::fault
