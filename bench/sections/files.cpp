#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "bench/sections/rows.h"
#include <zlib.h>

namespace bench {
namespace {

constexpr std::size_t kSize = 50'000'000;

class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "lmk-bench-sections-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path = name;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string path;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

// Points of a slowly turning curve, and names between them.
std::string MakePlain() {
  std::mt19937 random(1);
  std::string plain;
  double position = 0;
  while (plain.size() < kSize) {
    for (int i = 0; i < 40; ++i) {
      position += static_cast<double>(random() % 1000) / 1024;
      char bytes[sizeof(position)];
      std::memcpy(bytes, &position, sizeof(position));
      plain.append(bytes, sizeof(position));
    }
    for (int i = 0; i < 10; ++i)
      plain += "face_" + std::to_string(random() % 5000) + " of part " + std::to_string(i) + ";";
  }
  plain.resize(kSize);
  return plain;
}

}  // namespace

const std::string& Plain() {
  static const std::string plain = MakePlain();
  return plain;
}

const std::string& PackedFile() {
  static const std::string path = [] {
    const std::string name = TheFolder().path + "/packed.gz";
    const gzFile file = gzopen(name.c_str(), "wb");
    if (gzwrite(file, Plain().data(), kSize) != static_cast<int>(kSize) || gzclose(file) != Z_OK) {
      throw std::runtime_error("cannot write " + name);
    }
    return name;
  }();
  return path;
}

const std::string& OutputFile() {
  static const std::string path = TheFolder().path + "/output.gz";
  return path;
}

}  // namespace bench
