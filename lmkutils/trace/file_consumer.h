// Trace records in a file.
#ifndef LMKUTILS_TRACE_FILE_CONSUMER_H
#define LMKUTILS_TRACE_FILE_CONSUMER_H

#include <memory>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_consumer.h"

namespace dp {

// Writes each record to a file with one write call, so that who reads the file meanwhile sees whole records
// only. The form is XML when the path ends exactly in ".xml" (for an empty path: when "LUMORA_TRACE_FORMAT"
// is "xml"), else JSON when that variable is "json", else plain lines, which end in "\n" on every target.
//
// A file that cannot be opened, or once written in full, makes the consumer refuse all records: they go to
// the next older consumer.
class LMK_API FileConsumer : public TraceConsumer {
 public:
  // Opens the file, UTF-8, and empties it; others may read, write and remove it meanwhile. Throws
  // std::bad_alloc.
  explicit FileConsumer(const std::string& path);
  ~FileConsumer() override;

  // False when the file is in a failed state or this record could not be written whole.
  bool ConsumeMessage(const TraceFormatter* formatter) override;
  // The prologue of an XML trace, with the installed style sheet. Without one the trace goes on in plain
  // text, after a line that says so.
  void Install() override;
  void Release() override;        // ends the XML document and closes the file
  void PrintFileName() override;  // "Trace file: NAME.EXT" on the standard output

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace dp

#endif
