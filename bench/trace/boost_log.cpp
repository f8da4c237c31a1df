#include <fstream>

#include "bench/trace/rows.h"
#include <boost/core/null_deleter.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

namespace bench {
namespace {

namespace log = boost::log;
namespace expr = boost::log::expressions;
using Logger = log::sources::severity_logger_mt<log::trivial::severity_level>;

Logger& TheLogger() {
  static auto& logger = *new Logger;
  return logger;
}

void AddAttributes() {
  static const bool done = [] {
    auto core = log::core::get();
    core->add_global_attribute("UtcStamp", log::attributes::utc_clock());
    core->add_global_attribute("Process", log::attributes::current_process_id());
    core->add_global_attribute("Thread", log::attributes::current_thread_id());
    core->add_global_attribute("LocalStamp", log::attributes::local_clock());
    return true;
  }();
  benchmark::DoNotOptimize(done);
}

template <class Formatter>
void InstallFile(const char* name, const Formatter& formatter) {
  AddAttributes();
  auto backend = boost::make_shared<log::sinks::text_ostream_backend>();
  backend->add_stream(boost::make_shared<std::ofstream>(TraceFile(name)));
  backend->auto_flush(true);
  auto sink = boost::make_shared<log::sinks::synchronous_sink<log::sinks::text_ostream_backend>>(backend);
  sink->set_formatter(formatter);
  log::core::get()->add_sink(sink);
}

constexpr char kTime[] = "%H:%M:%S.%f  %d %b %Y";

auto Stamp(const char* name) {
  return expr::format_date_time<boost::posix_time::ptime>(name, kTime);
}

void Log(benchmark::State& state) {
  Logger& logger = TheLogger();
  int number = 0;
  for (auto _ : state) {
    BOOST_LOG_SEV(logger, log::trivial::info) << "Loaded " << ++number << " parts of " << kPart;
  }
}

void Plain(benchmark::State& state) {
  static const bool installed = [] {
    InstallFile("boost_plain",
                expr::stream << log::trivial::severity << "    " << Stamp("LocalStamp") << ' '
                             << expr::attr<log::attributes::current_process_id::value_type>("Process") << ' '
                             << expr::attr<log::attributes::current_thread_id::value_type>("Thread")
                             << " bench Trace " << expr::smessage);
    return true;
  }();
  benchmark::DoNotOptimize(installed);
  Log(state);
}

// The message is not escaped, which is less work.
void Json(benchmark::State& state) {
  static const bool installed = [] {
    InstallFile("boost_json",
                expr::stream << R"({"level" :")" << log::trivial::severity
                             << R"(", "trackingId" :"", "subkey" :"Trace", "source" :"bench", "threadId" :)"
                             << expr::attr<log::attributes::current_thread_id::value_type>("Thread")
                             << R"(, "procId" :)"
                             << expr::attr<log::attributes::current_process_id::value_type>("Process")
                             << R"(, "time" :")" << Stamp("UtcStamp") << R"(", "message" : ")"
                             << expr::smessage << "\"}");
    return true;
  }();
  benchmark::DoNotOptimize(installed);
  Log(state);
}

void Off(benchmark::State& state) {
  log::core::get()->set_logging_enabled(false);
  Log(state);
  log::core::get()->set_logging_enabled(true);
}

bool Register() {
  AddSingle(kOffStream, "Boost.Log", Off);
  AddBoth(kPlain, "Boost.Log", Plain);
  AddBoth(kJson, "Boost.Log", Json);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
