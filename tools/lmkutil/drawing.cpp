#include "tools/lmkutil/drawing.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <system_error>

#include "tools/lmkutil/text_file.h"

namespace lmkutil {
namespace {

namespace fs = std::filesystem;

// A new folder of our own, the current one while this lives. Commands given there need no path, and so no
// quotation marks, whatever the user's folders are called.
class WorkFolder {
 public:
  WorkFolder() : before_(fs::current_path()) {
    std::random_device random;
    do {
      folder_ = fs::temp_directory_path() / ("lmkutil-" + std::to_string(random()));
    } while (!fs::create_directory(folder_));
    fs::current_path(folder_);
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    fs::remove_all(folder_, ignored);
  }

 private:
  fs::path before_;
  fs::path folder_;
};

bool WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
  out.close();
  return !out.fail();
}

std::optional<std::string> Draw(const std::string& dot) {
  const WorkFolder folder;
  if (!WriteFile("graph.dot", dot)) return std::nullopt;
  // The same words for the shells of all targets; what "dot" has to say about its fonts is of no interest.
  if (std::system("dot -Tsvg -ograph.svg graph.dot >messages 2>&1") != 0) return std::nullopt;
  return ReadFile("graph.svg");
}

}  // namespace

Drawing DrawSvg(const std::string& dot, const std::string& path) {
  const std::optional<std::string> svg = Draw(dot);
  if (!svg) return Drawing::kNoGraphviz;
  const fs::path file(std::u8string(path.begin(), path.end()));
  return WriteFile(file, *svg) ? Drawing::kDone : Drawing::kUnwritable;
}

}  // namespace lmkutil
