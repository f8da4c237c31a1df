#include "lmkutils/memory/internal/size_classes.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "lmkutils/platform/environment.h"

namespace du::internal {
namespace {

// A switch read once from the environment: a decimal integer other than 0 means on.
class EnvironmentSwitch {
 public:
  constexpr explicit EnvironmentSwitch(const char* variable) noexcept : variable_(variable) {}

  bool IsOn() noexcept {
    State state = state_.load(std::memory_order_relaxed);
    if (state == State::kUnknown) {
      State expected = State::kUnknown;
      state = Read() ? State::kOn : State::kOff;
      // The first reader decides, should another thread have seen another value meanwhile.
      if (!state_.compare_exchange_strong(expected, state, std::memory_order_relaxed)) state = expected;
    }
    return state == State::kOn;
  }

 private:
  enum class State : unsigned char { kUnknown, kOff, kOn };

  bool Read() const noexcept {
    try {
      return std::strtol(dp::Environment::Get(variable_).c_str(), nullptr, 10) != 0;
    } catch (const std::exception&) {
      return false;
    }
  }

  const char* variable_;
  std::atomic<State> state_{State::kUnknown};
};

constinit EnvironmentSwitch higherSpeed("LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT");
constinit EnvironmentSwitch direct("LUMORA_MEM_MAXSPEED_MAXFOOTPRINT");

constexpr ClassTable normalClasses(Ladder::kNormal);
constexpr ClassTable higherSpeedClasses(Ladder::kHigherSpeed);

// Nothing else runs when the library is loaded.
[[maybe_unused]] const Ladder ladderAtLoad = ProcessLadder();

}  // namespace

Ladder ProcessLadder() noexcept {
  return higherSpeed.IsOn() ? Ladder::kHigherSpeed : Ladder::kNormal;
}

bool DirectMode() noexcept {
  return direct.IsOn();
}

const ClassTable& ClassTableOf(Ladder ladder) noexcept {
  return ladder == Ladder::kNormal ? normalClasses : higherSpeedClasses;
}

std::string ClassLabel(Ladder ladder, const char* poolName, unsigned sizeClass) {
  std::array<char, 512> label;
  const char* name = poolName != nullptr ? poolName : "-";
  const auto number = static_cast<int>(sizeClass);
  const auto smallest = static_cast<int>(SmallestSize(ladder, sizeClass));
  const auto largest = static_cast<int>(LargestSize(ladder, sizeClass));
  if (ladder == Ladder::kHigherSpeed && sizeClass < ShapeOf(ladder).smallClasses) {
    std::snprintf(label.data(), label.size(), "%s %2d (%5d to %5d)", name, number, smallest, largest);
  } else {
    std::snprintf(label.data(), label.size(), "%s (%5d to %5d)", name, smallest, largest);
  }
  return label.data();
}

}  // namespace du::internal
