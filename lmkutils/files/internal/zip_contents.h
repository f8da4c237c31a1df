// The members of an archive that are to be unpacked.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_CONTENTS_H
#define LMKUTILS_FILES_INTERNAL_ZIP_CONTENTS_H

#include <optional>
#include <string>
#include <vector>

#include "lmkutils/files/internal/zip_input.h"
#include "lmkutils/files/internal/zip_report.h"
#include "lmkutils/files/zip_reader.h"

namespace du::internal {

class ZipContents {
 public:
  explicit ZipContents(const ZipReport& report) noexcept : report_(report) {}

  // Reads the table of contents.
  bool Open(const std::string& path);
  // Leaves the members that ZipReader::Extract means by this; false when there is none.
  bool Select(const std::string& memberOrAll);
  // False when not one of them may be unpacked.
  bool Check(const ZipLimits& limits);

  std::vector<ZipEntry>& Entries() noexcept { return entries_; }
  // After Check: why this one is left out.
  const std::optional<ZipProblem>& ProblemOf(std::size_t index) const noexcept { return problems_[index]; }
  ZipInput& Input() noexcept { return input_; }

 private:
  bool CheckNames();
  bool CheckExtents();
  bool CheckSizes(const ZipLimits& limits);

  const ZipReport& report_;
  std::string path_;
  ZipInput input_;
  std::vector<ZipEntry> entries_;
  std::vector<std::optional<ZipProblem>> problems_;
};

}  // namespace du::internal

#endif
