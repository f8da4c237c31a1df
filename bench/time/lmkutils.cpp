#include "bench/time/rows.h"

#include "lmkutils/time/clock.h"
#include "lmkutils/time/time_val.h"
#include "lmkutils/time/timer.h"

namespace bench {
namespace {

template <class Value>
struct Ours {
  static void Print(std::ostream& out, std::int64_t milliseconds) { out << Value(milliseconds); }
};

void Clock(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(du::GetTime());
}

void Timer(benchmark::State& state) {
  const du::Timer timer(false);
  for (auto _ : state) benchmark::DoNotOptimize(timer.MSec());
}

bool Register() {
  AddInstantRows<Ours<du::UtcTimeVal>>("UTC", kOurs);
  AddInstantRows<Ours<du::LocalTimeVal>>("local", kOurs);
  AddSingle(kClock, kOurs, Clock);
  AddSingle(kTimer, kOurs, Timer);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
