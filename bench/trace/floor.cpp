#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "bench/trace/rows.h"
#include <fcntl.h>
#include <unistd.h>

namespace bench {
namespace {

class Folder {
 public:
  Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "bench-XXXXXX").string();
    if (!mkdtemp(path.data())) std::abort();
    path_ = path;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

void Write(benchmark::State& state, std::size_t bytes) {
  static const int file = open(TraceFile("floor").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const std::string line = std::string(bytes - 1, 'x') + "\n";
  for (auto _ : state) benchmark::DoNotOptimize(write(file, line.data(), line.size()));
}

void OffCall(benchmark::State& state) {
  int number = 0;
  for (auto _ : state) CallLoadBranch("Loaded %d parts of %s", ++number, kPart);
}

bool Register() {
  const std::string floor = kFloor;
  AddSingle(kOffPrintf, floor + "call, load and branch", OffCall);
  AddSingle(kOffStream, floor + "call, load and branch", OffCall);
  AddSingle(kOffDebug, floor + "call, load and branch", OffCall);
  AddBoth(kPlain, floor + "one write", [](benchmark::State& s) { Write(s, kPlainBytes); });
  AddBoth(kJson, floor + "one write", [](benchmark::State& s) { Write(s, kJsonBytes); });
  return true;
}

const bool registered = Register();

}  // namespace

std::string TraceFile(const std::string& name) {
  static const Folder folder;
  return (folder.Path() / name).string();
}

}  // namespace bench
