// Keeps what is traced, for tests.
#ifndef LMKUTILS_TESTING_TRACE_RECORDER_H
#define LMKUTILS_TESTING_TRACE_RECORDER_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "lmkutils/trace/trace_consumer.h"
#include "lmkutils/trace/trace_controller.h"
#include "lmkutils/trace/trace_formatter.h"

namespace lmktest {

struct TracedRecord {
  dp::TraceType type;
  std::string key;
  std::string subKey;
  std::string text;
  int procId;
  int threadId;
  std::int64_t time;
};

// While it lives it is the newest consumer of the trace controller, so that tracing is on and every record
// comes here. The header record is left out. Any thread may trace meanwhile.
class TraceRecorder {
 public:
  TraceRecorder() {
    auto consumer = std::make_unique<Consumer>(*this);
    consumer_ = consumer.get();
    dp::TraceController::Instance().AddConsumer(std::move(consumer));
    Take();
  }
  ~TraceRecorder() { dp::TraceController::Instance().RemoveConsumer(consumer_); }
  TraceRecorder(const TraceRecorder&) = delete;
  TraceRecorder& operator=(const TraceRecorder&) = delete;

  // What was traced since the last call.
  std::vector<TracedRecord> Take() {
    const std::lock_guard guard(mutex_);
    return std::exchange(records_, {});
  }
  std::vector<std::string> TakeTexts() {
    std::vector<std::string> texts;
    for (TracedRecord& record : Take()) texts.push_back(std::move(record.text));
    return texts;
  }

 private:
  class Consumer : public dp::TraceConsumer {
   public:
    explicit Consumer(TraceRecorder& recorder) : recorder_(recorder) {}
    bool ConsumeMessage(const dp::TraceFormatter* record) override {
      const auto text = [](const char* key) { return std::string(key != nullptr ? key : ""); };
      const std::lock_guard guard(recorder_.mutex_);
      recorder_.records_.push_back({record->GetType(), text(record->GetKey()), text(record->GetSubKey()),
                                    record->GetMesg(), record->GetProcId(), record->GetThreadId(),
                                    record->GetTime()});
      return true;
    }
    void Install() override {}
    void Release() override {}

   private:
    TraceRecorder& recorder_;
  };

  std::mutex mutex_;
  std::vector<TracedRecord> records_;
  dp::TraceConsumer* consumer_;
};

}  // namespace lmktest

#endif
