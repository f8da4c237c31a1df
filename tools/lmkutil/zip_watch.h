// What a person is told while an archive is worked on.
#ifndef LMKUTIL_ZIP_WATCH_H
#define LMKUTIL_ZIP_WATCH_H

#include <cstdint>
#include <string>

#include "tools/lmkutil/progress.h"
#include "tools/lmkutil/resources.h"

#include "lmkutils/files/zip_observer.h"

namespace lmkutil {

// Shows progress, writes a line to the error stream for each problem, and ends the work after Ctrl-C.
class ZipWatch : public du::ZipObserver {
 public:
  enum class Work { kPacking, kUnpacking };

  ZipWatch(Work work, const std::string& archive, const Resources& resources)
      : work_(work), archive_(archive), resources_(resources) {}

  // The bytes that there are to be done; 0 when nobody knows.
  void SetTotal(std::uint64_t bytes) noexcept { total_ = bytes; }

  bool Progress(const std::string& member, std::uint64_t bytes) override;
  void Problem(du::ZipProblem problem, const std::string& name) override;
  void Clear() { progress_.Clear(); }

  std::uint64_t Members() const noexcept { return members_; }
  std::uint64_t Bytes() const noexcept { return bytes_; }
  std::uint64_t Problems() const noexcept { return problems_; }

 private:
  const Work work_;
  const std::string archive_;
  const Resources& resources_;
  lmkutil::Progress progress_;
  std::string member_;  // the last one
  std::uint64_t total_ = 0;
  std::uint64_t members_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t problems_ = 0;
};

}  // namespace lmkutil

#endif
