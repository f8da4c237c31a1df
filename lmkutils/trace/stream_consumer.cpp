#include "lmkutils/trace/stream_consumer.h"

#include <ostream>

#include "lmkutils/trace/internal/record_writer.h"

namespace dp {

class StreamConsumer::Impl {
 public:
  explicit Impl(std::ostream& stream) : stream_(stream) { writer_.SetXml(writer_.IsFormat("xml")); }

  void Consume(const TraceFormatter& record) {
    const std::string_view text = writer_.Write(record);
    if (text.empty()) return;
    stream_.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
  }

 private:
  std::ostream& stream_;
  internal::RecordWriter writer_;
};

StreamConsumer::StreamConsumer(std::ostream& stream) : impl_(std::make_unique<Impl>(stream)) {}

StreamConsumer::~StreamConsumer() = default;

bool StreamConsumer::ConsumeMessage(const TraceFormatter* formatter) {
  if (formatter != nullptr) impl_->Consume(*formatter);
  return true;
}

void StreamConsumer::Install() {}

void StreamConsumer::Release() {}

}  // namespace dp
