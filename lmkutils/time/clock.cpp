#include "lmkutils/time/clock.h"

#include <type_traits>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/timer.h"

namespace du {
namespace {

struct Base {
  std::int64_t milliseconds = os::WallSeconds() * 1000;
  Timer timer{false};
};

}  // namespace

std::int64_t GetTime() {
  // Nothing is destroyed at exit: the last records of the teardown are stamped too.
  static_assert(std::is_trivially_destructible_v<Base>);
  static const Base base;
  return base.milliseconds + base.timer.MSec();
}

}  // namespace du
