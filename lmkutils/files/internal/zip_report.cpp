#include "lmkutils/files/internal/zip_report.h"

#include "lmkutils/trace/lm_tracer.h"

namespace du::internal {

const char* TextOfProblem(ZipProblem problem) noexcept {
  switch (problem) {
    case ZipProblem::kCannotOpen:
      return "the archive cannot be opened";
    case ZipProblem::kNotAnArchive:
      return "no archive, or its table of contents is damaged";
    case ZipProblem::kNotFound:
      return "no such member";
    case ZipProblem::kUnsafeName:
      return "the name is not safe";
    case ZipProblem::kSameName:
      return "another member has this name";
    case ZipProblem::kOverlap:
      return "shares bytes with another member";
    case ZipProblem::kHeadersDiffer:
      return "the header before the data and the table of contents differ";
    case ZipProblem::kLimit:
      return "exceeds the limits of what is unpacked";
    case ZipProblem::kEncrypted:
      return "encrypted";
    case ZipProblem::kUnknownMethod:
      return "packed by an unknown method";
    case ZipProblem::kLink:
      return "a symbolic link";
    case ZipProblem::kDamaged:
      return "damaged";
    case ZipProblem::kNoDirectory:
      return "a directory on the way cannot be entered";
    case ZipProblem::kCannotWriteFile:
      return "cannot be written";
    case ZipProblem::kCannotReadFile:
      return "cannot be read";
    case ZipProblem::kNameNotAllowed:
      return "not a name for a member";
    case ZipProblem::kNeedsZip64:
      return "does not fit without Zip64";
    case ZipProblem::kCannotWriteArchive:
      return "the archive cannot be written";
  }
  return "";
}

bool ZipReport::Fail(ZipProblem problem, const std::string& name) const {
  dp::LMTracer("ZipReader", "")(dp::TraceType::Error, "ZipReader: %s: %s", name.c_str(),
                                TextOfProblem(problem));
  if (observer_ != nullptr) observer_->Problem(problem, name);
  return false;
}

bool ZipReport::Progress(const std::string& member, std::uint64_t bytes) const {
  return observer_ == nullptr || observer_->Progress(member, bytes);
}

}  // namespace du::internal
