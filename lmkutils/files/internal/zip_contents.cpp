#include "lmkutils/files/internal/zip_contents.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <unordered_set>
#include <utility>

#include "lmkutils/files/internal/zip_name.h"
#include "lmkutils/os/name_case.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du::internal {
namespace {

// The sum, or the greatest number when it has no room.
std::uint64_t AddSaturating(std::uint64_t left, std::uint64_t right) noexcept {
  return right > std::numeric_limits<std::uint64_t>::max() - left ? std::numeric_limits<std::uint64_t>::max()
                                                                  : left + right;
}

// What the system would make of the parts of a name.
std::string KeyOf(const std::vector<std::string>& parts) {
  std::string key;
  for (const std::string& part : parts) key += part + ZipReader::ZIP_DIR_CHAR;
  return os::FoldName(std::move(key));
}

bool IsMeant(const std::string& name, const std::string& memberOrAll) {
  return memberOrAll.ends_with(ZipReader::ZIP_DIR_CHAR) ? name.starts_with(memberOrAll) : name == memberOrAll;
}

}  // namespace

bool ZipContents::Open(const std::string& path) {
  path_ = path;
  const bool opened = input_.Open(path);
  if (opened && input_.ReadDirectory(&entries_)) return true;
  entries_.clear();
  dp::LMTracer("ZipReader", "")(dp::TraceType::Error, "Failed to get ToC for ZIP file \"%s\"", path.c_str());
  const bool isUnreadable = input_.Error() != os::kSuccess;
  return report_.Fail(isUnreadable ? ZipProblem::kCannotOpen : ZipProblem::kNotAnArchive, path);
}

bool ZipContents::Select(const std::string& memberOrAll) {
  if (memberOrAll.empty() || memberOrAll == "*") return true;
  std::erase_if(entries_, [&](const ZipEntry& entry) { return !IsMeant(entry.member.name, memberOrAll); });
  return !entries_.empty() || report_.Fail(ZipProblem::kNotFound, memberOrAll);
}

bool ZipContents::Check(const ZipLimits& limits) {
  problems_.assign(entries_.size(), std::nullopt);
  return CheckNames() && CheckSizes(limits) && CheckExtents();
}

bool ZipContents::CheckNames() {
  std::unordered_set<std::string> seen;
  std::vector<std::string> parts;
  bool good = true;
  for (const ZipEntry& entry : entries_) {
    const std::string& name = entry.member.name;
    if (!SplitMemberName(name, &parts)) {
      good = report_.Fail(ZipProblem::kUnsafeName, name);
    } else if (!seen.insert(KeyOf(parts)).second) {
      good = report_.Fail(ZipProblem::kSameName, name);
    }
  }
  return good;
}

bool ZipContents::CheckSizes(const ZipLimits& limits) {
  std::uint64_t size = 0;
  std::uint64_t packed = 0;
  for (const ZipEntry& entry : entries_) {
    size = AddSaturating(size, entry.member.size);
    packed = AddSaturating(packed, entry.member.packedSize);
  }
  const bool isTooDense = size > limits.freeSize && size / std::max<std::uint64_t>(limits.ratio, 1) > packed;
  return (size <= limits.totalSize && !isTooDense) || report_.Fail(ZipProblem::kLimit, path_);
}

bool ZipContents::CheckExtents() {
  std::vector<std::pair<ZipExtent, std::size_t>> extents;
  extents.reserve(entries_.size());
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    ZipExtent extent;
    const ZipMember& member = entries_[i].member;
    problems_[i] = ZipInput::JudgeEntry(entries_[i]);
    if (member.isDirectory && member.size != 0) problems_[i] = ZipProblem::kDamaged;
    if (problems_[i] || member.isDirectory) continue;
    if (!input_.LocateData(entries_[i], &extent)) {
      problems_[i] = ZipProblem::kHeadersDiffer;
    } else {
      extents.emplace_back(extent, i);
    }
  }
  const auto isBefore = [](const auto& left, const auto& right) {
    return left.first.begin < right.first.begin;
  };
  std::sort(extents.begin(), extents.end(), isBefore);
  for (std::size_t i = 1; i < extents.size(); ++i) {
    if (extents[i].first.begin < extents[i - 1].first.end)
      return report_.Fail(ZipProblem::kOverlap, entries_[extents[i].second].member.name);
  }
  return true;
}

}  // namespace du::internal
