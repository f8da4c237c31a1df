// How a ZipWriter tells of a failure. For its sources only.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_WRITER_FAILURE_H
#define LMKUTILS_FILES_INTERNAL_ZIP_WRITER_FAILURE_H

#include "lmkutils/files/internal/zip_report.h"
#include "lmkutils/files/zip_observer.h"
#include "lmkutils/files/zip_writer.h"
#include "lmkutils/os/system_error.h"

namespace du {

struct ZipWriter::Failure {
  ZipProblem problem;
  int code;                              // minizip's, for the trace
  const char* step;                      // what was being done
  os::SystemError error = os::kSuccess;  // the system's reason, if it is its
};

}  // namespace du

#endif
