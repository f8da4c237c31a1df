#include "lmkutils/trace/internal/record_writer.h"

#include "lmkutils/platform/environment.h"
#include "lmkutils/trace/internal/record_text.h"
#include "lmkutils/trace/internal/type_name.h"

namespace dp::internal {
namespace {

std::string TrackingId() {
  const std::string id = Environment::Get("TRACKING_ID");
  std::string storage;
  return std::string(JsonEscaped(id, storage));
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

RecordWriter::RecordWriter()
    : format_(Environment::Get("LUMORA_TRACE_FORMAT")),
      levels_(Environment::Get("LUMORA_TRACE_LEVEL")),
      trackingId_(TrackingId()),
      json_(format_ == "json") {}

std::string_view RecordWriter::Write(const TraceFormatter& record) {
  if (record.IsInert()) return {};
  text_.Clear();
  if (xml_) {
    AppendXmlElement(record, localTime_, text_);
  } else if (!json_) {
    AppendPlainLine(record, localTime_, text_);
  } else if (levels_.empty() || Wants(LevelName(record.GetType()))) {
    AppendJsonLine(record, utcTime_, trackingId_, text_);
  }
  return text_.View();
}

bool RecordWriter::Wants(std::string_view level) const noexcept {
  for (std::string_view rest = levels_;;) {
    const std::size_t comma = rest.find(',');
    if (Trimmed(rest.substr(0, comma)) == level) return true;
    if (comma == rest.npos) return false;
    rest.remove_prefix(comma + 1);
  }
}

}  // namespace dp::internal
