// The one trace controller of the process.
#ifndef LMKUTILS_TRACE_INTERNAL_TRACE_CONTROLLER_IMPL_H
#define LMKUTILS_TRACE_INTERNAL_TRACE_CONTROLLER_IMPL_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "lmkutils/trace/internal/debug_masks.h"
#include "lmkutils/trace/lm_trace_controller.h"

namespace dp::internal {

// Lives in static storage and is never destroyed, only ended: a thread that outlives the controller finds it
// inactive, not gone.
//
// Locking: one lock, in static storage too, guards the consumers, the masks and every delivery. Whatever may
// ask other process-wide objects (headers, style sheets, installing) is done before it is taken, on a
// consumer that nobody else knows yet, since those objects trace while they are made. A mark on each thread
// tells that it is inside the controller: records that it finishes then are dropped and counted.
class TraceControllerImpl final : public LMTraceController {
 public:
  // The controller, made when need be, the viewer looked for. Throws as TraceController::Instance.
  static TraceControllerImpl& Get();
  // Null before the first Get and after the end.
  static TraceControllerImpl* Existing() noexcept;

  TraceControllerImpl() = default;

  void Initialize() override;
  bool AddConsumer(std::unique_ptr<TraceConsumer> consumer) override;
  bool RemoveConsumer(TraceConsumer* consumer) override;
  void RemoveAllConsumers() override;
  bool HasConsumer(const TraceConsumer* consumer) override;
  std::size_t GetConsumerCount() override;
  ~TraceControllerImpl() override = default;
  bool IsActive() const override;
  unsigned GetDebugMask(const char* key, const char* subKey) const override;
  void Broadcast(const TraceFormatter& record) override;

 private:
  struct Traits;
  using Consumers = std::vector<std::unique_ptr<TraceConsumer>>;

  void Begin();
  // Releases the consumers; `forGood` is false when the creation could not be completed after all.
  void End(bool forGood) noexcept;
  void SeekViewer() noexcept;
  bool Add(std::unique_ptr<TraceConsumer> consumer) noexcept;
  bool Publish(std::unique_ptr<TraceConsumer>& consumer);
  bool Offer(const TraceFormatter& record) noexcept;
  Consumers TakeAll();

  Consumers consumers_;  // oldest first
  DebugMasks debugMasks_;
  bool ended_ = false;
  std::atomic<bool> initialised_{false};
  std::atomic<bool> viewerSought_{false};
};

}  // namespace dp::internal

#endif
