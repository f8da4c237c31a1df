// Boost.Filesystem.
#include "bench/paths/rows.h"
#include <boost/filesystem.hpp>

namespace bench {
namespace {

namespace fs = boost::filesystem;

void Parse(benchmark::State& state) {
  for (auto _ : state) {
    fs::path rebuilt;
    for (const fs::path& part : fs::path(kPath)) rebuilt /= part;
    benchmark::DoNotOptimize(rebuilt.native().data());
  }
}

void Normalise(benchmark::State& state) {
  for (auto _ : state) {
    const fs::path normal = fs::path(kDotted).lexically_normal();
    benchmark::DoNotOptimize(normal.native().data());
  }
}

void Relative(benchmark::State& state) {
  for (auto _ : state) {
    const fs::path relative = fs::path(kPath).lexically_relative(kBase);
    benchmark::DoNotOptimize(relative.native().data());
  }
}

struct Recursive {
  static std::size_t Visit(const std::string& folder) {
    std::size_t files = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.status().type() == fs::regular_file) ++files;
    }
    return files;
  }
};

const auto* const kParsed = AddSingle(kParse, "Boost.Filesystem", Parse);
const auto* const kNormalised = AddSingle(kNormalise, "Boost.Filesystem", Normalise);
const auto* const kRelated = AddSingle(kRelative, "Boost.Filesystem", Relative);
const auto* const kWalked = AddWall(kWalk, "Boost.Filesystem", Walk<Recursive>);

}  // namespace
}  // namespace bench
