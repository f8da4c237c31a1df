// Our own paths.
#include <vector>

#include "bench/paths/rows.h"

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/find_file.h"

namespace bench {
namespace {

void Parse(benchmark::State& state) {
  for (auto _ : state) {
    const du::FileSpec spec(kPath);
    std::string rebuilt;
    spec.GetFileSpec(&rebuilt);
    benchmark::DoNotOptimize(rebuilt.data());
  }
}

void Normalise(benchmark::State& state) {
  for (auto _ : state) {
    du::FileSpec spec(kDotted);
    spec.RemoveDotAndDotDot();
    std::string rebuilt;
    spec.GetFileSpec(&rebuilt);
    benchmark::DoNotOptimize(rebuilt.data());
  }
}

void Relative(benchmark::State& state) {
  for (auto _ : state) {
    const std::string relative = du::FileSpec(kPath).GetRelativePath(kBase, true);
    benchmark::DoNotOptimize(relative.data());
  }
}

struct Found {
  static std::size_t Visit(const std::string& folder) {
    std::size_t files = 0;
    std::vector<std::string> folders{folder};
    std::string name;
    while (!folders.empty()) {
      const std::string here = folders.back() + "/";
      folders.pop_back();
      du::FindFile find;
      const du::FileSpec* found = &find.FindFirstFileName(here + "*", du::FindFile::ANY_TYPE);
      for (; !found->empty(); found = &find.GetNextFileName()) {
        if (find.GetEntryType() == du::FindFile::FILE_ENTRY) ++files;
        if (find.GetEntryType() != du::FindFile::DIRECTORY_ENTRY) continue;
        found->GetFile(&name);
        folders.push_back(here + name);
      }
    }
    return files;
  }
};

const auto* const kParsed = AddSingle(kParse, kOurs, Parse);
const auto* const kNormalised = AddSingle(kNormalise, kOurs, Normalise);
const auto* const kRelated = AddSingle(kRelative, kOurs, Relative);
const auto* const kWalked = AddWall(kWalk, kOurs, Walk<Found>);

}  // namespace
}  // namespace bench
