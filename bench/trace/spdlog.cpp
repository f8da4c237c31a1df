#include <memory>

#include "bench/trace/rows.h"
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace bench {
namespace {

// The same members as in a record of ours. A JSON message is not escaped, which is less work.
constexpr char kPlainPattern[] = "%-7l %H:%M:%S.%e  %d %b %Y %P %t bench Trace %v";
constexpr char kJsonPattern[] =
    R"({"level" :"%l", "trackingId" :"", "subkey" :"Trace", "source" :"bench", "threadId" :%t, "procId" :%P, )"
    R"("time" :"%H:%M:%S.%e  %d %b %Y", "message" : "%v"})";

spdlog::logger& FileLogger(const char* name, const char* pattern, spdlog::pattern_time_type time) {
  auto& logger =
      *new spdlog::logger(name, std::make_shared<spdlog::sinks::basic_file_sink_mt>(TraceFile(name), true));
  logger.set_pattern(pattern, time);
  logger.flush_on(spdlog::level::trace);
  return logger;
}

void Log(benchmark::State& state, spdlog::logger& logger) {
  int number = 0;
  for (auto _ : state) logger.info("Loaded {} parts of {}", ++number, kPart);
}

void Off(benchmark::State& state) {
  static spdlog::logger& logger = FileLogger("spdlog_off", kPlainPattern, spdlog::pattern_time_type::local);
  logger.set_level(spdlog::level::off);
  Log(state, logger);
}

void Plain(benchmark::State& state) {
  static spdlog::logger& logger = FileLogger("spdlog_plain", kPlainPattern, spdlog::pattern_time_type::local);
  Log(state, logger);
}

void Json(benchmark::State& state) {
  static spdlog::logger& logger = FileLogger("spdlog_json", kJsonPattern, spdlog::pattern_time_type::utc);
  Log(state, logger);
}

bool Register() {
  AddSingle(kOffPrintf, "spdlog", Off);
  AddBoth(kPlain, "spdlog", Plain);
  AddBoth(kJson, "spdlog", Json);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
