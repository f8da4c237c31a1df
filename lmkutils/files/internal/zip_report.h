// What the zip classes report with.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_REPORT_H
#define LMKUTILS_FILES_INTERNAL_ZIP_REPORT_H

#include <cstdint>
#include <string>

#include "lmkutils/files/zip_observer.h"

namespace du::internal {

// For the traces.
const char* TextOfProblem(ZipProblem problem) noexcept;

// Traces problems of reading and hands them to the observer, if there is one.
class ZipReport {
 public:
  explicit ZipReport(ZipObserver* observer) noexcept : observer_(observer) {}

  bool Fail(ZipProblem problem, const std::string& name) const;  // false
  // False when the observer wants no more.
  bool Progress(const std::string& member, std::uint64_t bytes) const;

 private:
  ZipObserver* const observer_;
};

}  // namespace du::internal

#endif
