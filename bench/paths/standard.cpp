// The paths of the standard library; `find` for the tree.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "bench/paths/rows.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

// Removed with the process.
class OwnedTree {
 public:
  OwnedTree() : path_(fs::temp_directory_path() / "lmk-bench-tree") {
    fs::remove_all(path_);
    for (std::size_t i = 0; i < kFilesOfTree; ++i) {
      const fs::path folder = path_ / std::to_string(i / 1000) / std::to_string(i / 100 % 10);
      if (i % 100 == 0) fs::create_directories(folder);
      std::ofstream(folder / ("part-" + std::to_string(i) + ".prt")).put('x');
    }
  }
  ~OwnedTree() { fs::remove_all(path_); }
  std::string Path() const { return path_.string(); }

 private:
  fs::path path_;
};

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
      if (entry.is_regular_file()) ++files;
    }
    return files;
  }
};

struct FindProgram {
  static std::size_t Visit(const std::string& folder) {
    std::FILE* const lines = popen(("find " + folder + " -type f").c_str(), "r");
    std::size_t files = 0;
    for (char line[4096]; std::fgets(line, sizeof line, lines) != nullptr;) ++files;
    pclose(lines);
    return files;
  }
};

const auto* const kParsed = AddSingle(kParse, "std::filesystem", Parse);
const auto* const kNormalised = AddSingle(kNormalise, "std::filesystem", Normalise);
const auto* const kRelated = AddSingle(kRelative, "std::filesystem", Relative);
const auto* const kWalked = AddWall(kWalk, "std::filesystem", Walk<Recursive>);
const auto* const kFound = AddWall(kWalk, "find", Walk<FindProgram>);

}  // namespace

const std::string& Tree() {
  static const OwnedTree tree;
  static const std::string path = tree.Path();
  return path;
}

}  // namespace bench
