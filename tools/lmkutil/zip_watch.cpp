#include "tools/lmkutil/zip_watch.h"

#include <vector>

#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/printable.h"

#include "lmkutils/platform/command_line.h"

namespace lmkutil {
namespace {

using du::ZipProblem;

const char* TagOf(ZipProblem problem, ZipWatch::Work work) {
  const bool isPacking = work == ZipWatch::Work::kPacking;
  switch (problem) {
    case ZipProblem::kCannotOpen:
      return isPacking ? "FILE_UNWRITABLE" : "FILE_UNREADABLE";
    case ZipProblem::kCannotReadFile:
      return "FILE_UNREADABLE";
    case ZipProblem::kCannotWriteFile:
    case ZipProblem::kCannotWriteArchive:
      return "FILE_UNWRITABLE";
    case ZipProblem::kNotAnArchive:
      return "ZIP_FOREIGN";
    case ZipProblem::kNotFound:
      return "ZIP_NOT_FOUND";
    case ZipProblem::kUnsafeName:
      return "ZIP_UNSAFE_NAME";
    case ZipProblem::kSameName:
      return isPacking ? "ZIP_NAMED_TWICE" : "ZIP_SAME_NAME";
    case ZipProblem::kOverlap:
      return "ZIP_OVERLAP";
    case ZipProblem::kLimit:
      return "ZIP_LIMIT";
    case ZipProblem::kEncrypted:
      return "ZIP_ENCRYPTED";
    case ZipProblem::kUnknownMethod:
      return "ZIP_METHOD";
    case ZipProblem::kLink:
      return "ZIP_LINK";
    case ZipProblem::kHeadersDiffer:
    case ZipProblem::kDamaged:
      return "ZIP_DAMAGED";
    case ZipProblem::kNoDirectory:
      return "ZIP_IN_THE_WAY";
    case ZipProblem::kNameNotAllowed:
      return "ZIP_NAME";
    case ZipProblem::kNeedsZip64:
      return "ZIP_TOO_LARGE";
  }
  return "ZIP_DAMAGED";
}

}  // namespace

bool ZipWatch::Progress(const std::string& member, std::uint64_t bytes) {
  bytes_ += bytes;
  if (member != member_ || members_ == 0) {
    member_ = member;
    ++members_;
  }
  if (progress_.IsDue()) {
    const std::string text =
        resources_.Text("ZIP_PROGRESS", {std::to_string(members_), std::to_string(bytes_)});
    if (total_ != 0) {
      progress_.Show(text, bytes_, total_);
    } else {
      progress_.Show(text);
    }
  }
  return !dp::CommandLine::IsInterrupted();
}

void ZipWatch::Problem(ZipProblem problem, const std::string& name) {
  ++problems_;
  progress_.Clear();
  std::vector<std::string> arguments{Printable(name)};
  if (problem == ZipProblem::kNotFound) arguments.push_back(archive_);
  PrintError(resources_.Text(TagOf(problem, work_), arguments));
}

}  // namespace lmkutil
