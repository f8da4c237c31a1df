#include <cstdlib>
#include <memory>

#include "bench/trace/allocations.h"
#include "bench/trace/rows.h"

#include "lmkutils/trace/file_consumer.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_trace_controller.h"
#include "lmkutils/trace/lm_tracer.h"

namespace bench {
namespace {

const dp::LMTracer tracer("bench", "Trace");
const dp::LMDebugTracer debugTracer("bench", "Trace");

// How often the calls of one turn allocate, all of them together.
class Counted {
 public:
  explicit Counted(benchmark::State& state) : state_(state) {}
  ~Counted() { state_.counters["allocations"] = static_cast<double>(Allocations() - before_); }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  benchmark::State& state_;
  std::uint64_t before_ = Allocations();
};

void Trace(benchmark::State& state) {
  int number = 0;
  for (auto _ : state) tracer("Loaded %d parts of %s", ++number, kPart);
}

void OffPrintf(benchmark::State& state) {
  const Counted counted(state);
  Trace(state);
}

void OffStream(benchmark::State& state) {
  const Counted counted(state);
  int number = 0;
  for (auto _ : state) tracer(dp::TraceType::Info) << "Loaded " << ++number << " parts of " << kPart;
}

void OffDebug(benchmark::State& state) {
  const Counted counted(state);
  int number = 0;
  for (auto _ : state) debugTracer(2u, "Loaded %d parts of %s", ++number, kPart);
}

// The one consumer of the process: a row is all that a process measures.
void ToFile(benchmark::State& state, const char* format) {
  static const bool added = [&] {
    setenv("LUMORA_TRACE_FORMAT", format, 1);
    auto consumer = std::make_unique<dp::FileConsumer>(TraceFile("lmkutils"));
    return dp::LMTraceController::Instance().AddConsumer(std::move(consumer));
  }();
  if (!added) {
    state.SkipWithError("the trace file was refused");
    return;
  }
  Trace(state);
}

bool Register() {
  AddSingle(kOffPrintf, kOurs, OffPrintf);
  AddSingle(kOffStream, kOurs, OffStream);
  AddSingle(kOffDebug, kOurs, OffDebug);
  AddBoth(kPlain, kOurs, [](benchmark::State& s) { ToFile(s, ""); });
  AddBoth(kJson, kOurs, [](benchmark::State& s) { ToFile(s, "json"); });
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
