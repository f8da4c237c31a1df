// What the stream and file consumers share: the choice of the form and the filter.
#ifndef LMKUTILS_TRACE_INTERNAL_RECORD_WRITER_H
#define LMKUTILS_TRACE_INTERNAL_RECORD_WRITER_H

#include <string>
#include <string_view>

#include "lmkutils/trace/internal/record_time.h"
#include "lmkutils/trace/internal/text_buffer.h"
#include "lmkutils/trace/trace_formatter.h"

namespace dp::internal {

// Turns records into text as the environment asks for at its construction. Owned by one consumer, used under
// the controller's lock.
class RecordWriter {
 public:
  // Reads "LUMORA_TRACE_FORMAT", "LUMORA_TRACE_LEVEL" and "TRACKING_ID". Throws std::bad_alloc.
  RecordWriter();

  // The whole record, valid until the next call; empty when the record is inert or the level filter holds it
  // back. Throws std::bad_alloc.
  std::string_view Write(const TraceFormatter& record);

  bool IsFormat(std::string_view name) const noexcept { return format_ == name; }
  bool IsXml() const noexcept { return xml_; }
  // XML goes before JSON when both are asked for.
  void SetXml(bool xml) noexcept { xml_ = xml; }

 private:
  bool Wants(std::string_view level) const noexcept;

  const std::string format_;
  const std::string levels_;
  const std::string trackingId_;  // escaped
  const bool json_;
  bool xml_ = false;
  RecordTime localTime_{du::internal::WriteLocalInstant};
  RecordTime utcTime_{du::internal::WriteUtcInstant};
  TextBuffer text_;
};

}  // namespace dp::internal

#endif
