// The three forms in which records are written.
#ifndef LMKUTILS_TRACE_INTERNAL_RECORD_TEXT_H
#define LMKUTILS_TRACE_INTERNAL_RECORD_TEXT_H

#include <string>
#include <string_view>

#include "lmkutils/trace/trace_formatter.h"

namespace dp::internal {

// Each appends the whole record, its end of line included. Whatever the record's texts hold, a plain or JSON
// record is one line, and JSON and XML stay well-formed, except that a message which begins with '{' and ends
// with '}' is taken to be a JSON object. Types that are no severity count as Info, null keys as empty. May
// throw std::bad_alloc.
void AppendPlainLine(const TraceFormatter& record, std::string& out);
void AppendJsonLine(const TraceFormatter& record, std::string_view trackingId, std::string& out);
void AppendXmlElement(const TraceFormatter& record, std::string& out);

// Appends UTF-8 with the five characters that XML gives a meaning escaped, and U+FFFD for what XML 1.0
// forbids (production [2], Char) and for what is not UTF-8.
void AppendXmlText(std::string_view text, std::string& out);
// Appends the inside of a JSON string (RFC 8259, section 7), U+FFFD for what is not UTF-8.
void AppendJsonText(std::string_view text, std::string& out);

}  // namespace dp::internal

#endif
