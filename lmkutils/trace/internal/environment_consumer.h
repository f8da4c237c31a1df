// The consumer that the environment asks for.
#ifndef LMKUTILS_TRACE_INTERNAL_ENVIRONMENT_CONSUMER_H
#define LMKUTILS_TRACE_INTERNAL_ENVIRONMENT_CONSUMER_H

#include <memory>
#include <string>

#include "lmkutils/trace/trace_consumer.h"

namespace dp::internal {

// As "LUMORA_PROC_TRACE", or else "LUMORA_TRACE", says; null when neither does. Throws std::bad_alloc.
std::unique_ptr<TraceConsumer> MakeConsumerFromEnvironment();

// The path with "_" and the process id appended to the file's base name; the rest of the text stays as it is:
// "dir/trace.log" -> "dir/trace_1234.log". Throws std::bad_alloc.
std::string PathOfProcess(const std::string& path, unsigned processId);

}  // namespace dp::internal

#endif
