#include <filesystem>
#include <fstream>
#include <random>

#include "bench/catalogue/rows.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

class Folder {
 public:
  Folder()
      : path_(fs::temp_directory_path() / ("lmk-bench-catalogue-" + std::to_string(std::random_device()()))) {
    std::mt19937 random(1);
    std::string bytes(8192, ' ');
    for (char& c : bytes) c = static_cast<char>(random());
    for (int folder = 0; folder < 500; ++folder) {
      const fs::path below = path_ / "files" / std::to_string(folder % 20) / std::to_string(folder);
      fs::create_directories(below);
      for (int file = 0; file < 100; ++file) {
        std::ofstream out(below / ("file" + std::to_string(file) + ".txt"), std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(random() % bytes.size()));
      }
    }
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const fs::path& Path() const { return path_; }

 private:
  const fs::path path_;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

}  // namespace

const std::string& ManyFiles() {
  static const std::string path = (TheFolder().Path() / "files").string();
  return path;
}

std::string ResultFile() {
  return (TheFolder().Path() / "result").string();
}

}  // namespace bench
