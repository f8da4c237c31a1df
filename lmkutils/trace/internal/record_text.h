// The three forms in which records are written.
#ifndef LMKUTILS_TRACE_INTERNAL_RECORD_TEXT_H
#define LMKUTILS_TRACE_INTERNAL_RECORD_TEXT_H

#include <string>
#include <string_view>

#include "lmkutils/trace/internal/record_time.h"
#include "lmkutils/trace/internal/text_buffer.h"
#include "lmkutils/trace/trace_formatter.h"

namespace dp::internal {

// Each appends the whole record, its end of line included. Whatever the record's texts hold, a plain or JSON
// record is one line, and JSON and XML stay well-formed, except that a message which begins with '{' and ends
// with '}' is taken to be a JSON object. Types that are no severity count as Info, null keys as empty. May
// throw std::bad_alloc. `time` is UTC for JSON, local for the others; `trackingId` is escaped already.
void AppendPlainLine(const TraceFormatter& record, RecordTime& time, TextBuffer& out);
void AppendJsonLine(const TraceFormatter& record, RecordTime& time, std::string_view trackingId,
                    TextBuffer& out);
void AppendXmlElement(const TraceFormatter& record, RecordTime& time, TextBuffer& out);

// The text as it stands inside a JSON string (RFC 8259, section 7), with U+FFFD for what is not UTF-8: the
// text itself when there is nothing to change, which is the usual case, else made in `storage`. May throw
// std::bad_alloc.
std::string_view JsonEscaped(std::string_view text, std::string& storage);
// The same for XML: the five characters escaped that XML gives a meaning, and U+FFFD for what XML 1.0 forbids
// (production [2], Char) and for what is not UTF-8.
std::string_view XmlEscaped(std::string_view text, std::string& storage);

}  // namespace dp::internal

#endif
