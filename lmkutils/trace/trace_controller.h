// The process-wide switchboard behind the tracers.
#ifndef LMKUTILS_TRACE_TRACE_CONTROLLER_H
#define LMKUTILS_TRACE_TRACE_CONTROLLER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_consumer.h"

namespace dp {

class TraceFormatter;

// Decides whether tracing is on, owns the consumers and hands each finished record to one of them. There is
// one controller in the process, made when it is first asked for and torn down last; every operation may be
// called from any thread. Calls that a consumer makes from within its own operations are refused (false, 0),
// since the consumer list is in use then.
class LMK_API TraceController {
 public:
  // The controller; made at the first call, which also looks for the trace viewer. Throws dp::DeadReference
  // ("Dead Reference Detected") after its end, std::bad_alloc when it cannot be made.
  static TraceController& Instance();

  TraceController(const TraceController&) = delete;
  TraceController& operator=(const TraceController&) = delete;

  // Adds the consumer that the environment asks for ("LUMORA_PROC_TRACE", else "LUMORA_TRACE": "stdout",
  // "stderr" or the path of a file, UTF-8). The program calls it once at its start; later calls do nothing.
  virtual void Initialize() = 0;

  // Installs the consumer, writes the header record to it, makes it the newest one and switches tracing on.
  // False, and the consumer destroyed, for null, when memory runs out or after the controller's end.
  virtual bool AddConsumer(std::unique_ptr<TraceConsumer> consumer) = 0;
  // Releases and destroys a consumer; false when it is none of the controller's. Tracing is off when none is
  // left.
  virtual bool RemoveConsumer(TraceConsumer* consumer) = 0;
  virtual void RemoveAllConsumers() = 0;
  virtual bool HasConsumer(const TraceConsumer* consumer) = 0;
  virtual std::size_t GetConsumerCount() = 0;

  virtual ~TraceController();

  // True once there is a consumer.
  virtual bool IsActive() const = 0;
  // The mask that "LMTRACE_DEBUG" gave to key::subKey (to the key alone when the sub-key is empty or null);
  // 0 for other names. The variable is read when the controller is made.
  virtual unsigned GetDebugMask(const char* key, const char* subKey) const = 0;
  // Hands the record to the newest consumer that takes it. One record at a time in the process.
  virtual void Broadcast(const TraceFormatter& record) = 0;

  // How many finished records reached no consumer: finished from within a consumer or while one was being
  // added on the same thread, refused by all, or too late for a process that was tracing. Any time.
  static std::uint64_t GetDroppedCount() noexcept;

 protected:
  TraceController() = default;
};

// 0xFFFFFFFF: the controller is torn down last.
LMK_API unsigned GetLongevity(TraceController*) noexcept;

}  // namespace dp

#endif
