#include "lmkutils/files/zip_reader.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/files/internal/without_throwing.h"
#include "lmkutils/files/internal/zip_contents.h"
#include "lmkutils/files/internal/zip_extraction.h"

namespace du {
namespace {

using internal::WithoutThrowing;
using internal::ZipContents;
using internal::ZipEntry;
using internal::ZipReport;

// Unpacks a member into nothing; false when it is damaged, or when *stopped.
bool Unpack(ZipContents& contents, const ZipEntry& entry, const ZipReport& report, bool* stopped) {
  constexpr std::size_t kBlock = 256 * 1024;
  internal::HeapBlock block;
  std::ptrdiff_t count = block.Allocate(kBlock) && contents.Input().BeginMember(entry) ? 0 : -1;
  while (count >= 0 && !*stopped) {
    count = contents.Input().Read(block.Get(), kBlock);
    if (count >= 0 && !report.Progress(entry.member.name, static_cast<std::uint64_t>(count))) *stopped = true;
    if (count <= 0) break;
  }
  const bool isWhole = contents.Input().EndMember() && count >= 0;
  return !*stopped && (isWhole || report.Fail(ZipProblem::kDamaged, entry.member.name));
}

bool TestAll(ZipContents& contents, const ZipReport& report) {
  bool good = true;
  bool stopped = false;
  for (std::size_t i = 0; i < contents.Entries().size() && !stopped; ++i) {
    const ZipEntry& entry = contents.Entries()[i];
    if (const auto& problem = contents.ProblemOf(i)) {
      good = report.Fail(*problem, entry.member.name);
    } else if (entry.member.isDirectory) {
      stopped = !report.Progress(entry.member.name, 0);
    } else if (!Unpack(contents, entry, report, &stopped)) {
      good = false;
    }
  }
  return good && !stopped;
}

}  // namespace

ZipReader::ZipReader() = default;

ZipReader::ZipReader(const std::string& archivePath) : path_(archivePath) {}

ZipReader::ZipReader(const ZipReader& other) = default;

ZipReader& ZipReader::operator=(const ZipReader& other) = default;

ZipReader::~ZipReader() = default;

void ZipReader::Bind(const std::string& archivePath) {
  path_ = archivePath;
}

bool ZipReader::ListMembers(std::vector<ZipMember>* members) {
  if (members == nullptr) return false;
  members->clear();
  return WithoutThrowing([&] {
    const ZipReport report(observer_);
    ZipContents contents(report);
    if (!contents.Open(path_)) return false;
    members->reserve(contents.Entries().size());
    for (ZipEntry& entry : contents.Entries()) members->push_back(std::move(entry.member));
    return true;
  });
}

bool ZipReader::ListContents(std::vector<std::string>* names) {
  if (names == nullptr) return false;
  names->clear();
  std::vector<ZipMember> members;
  return ListMembers(&members) && WithoutThrowing([&] {
           names->reserve(members.size());
           for (ZipMember& member : members) names->push_back(std::move(member.name));
           return true;
         });
}

bool ZipReader::Extract(const std::string& memberOrAll, const std::string& destination) {
  return WithoutThrowing([&] {
    const ZipReport report(observer_);
    ZipContents contents(report);
    if (!contents.Open(path_) || !contents.Select(memberOrAll) || !contents.Check(limits_)) return false;
    internal::ZipExtraction extraction(contents, report);
    return extraction.Open(destination) && extraction.Run();
  });
}

bool ZipReader::Test(const std::string& memberOrAll) {
  return WithoutThrowing([&] {
    const ZipReport report(observer_);
    ZipContents contents(report);
    return contents.Open(path_) && contents.Select(memberOrAll) && contents.Check(limits_) &&
           TestAll(contents, report);
  });
}

}  // namespace du
