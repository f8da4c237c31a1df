#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "bench/zip/rows.h"

#include "lmkutils/files/zip_writer.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

// In memory where the system has a file system for that: on a disk its journal decides how long 2000 new
// files take.
class Root {
 public:
  Root() {
    const fs::path parent = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
    std::string name = (parent / "lmk-bench-zip-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path = name;
  }
  ~Root() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  std::string path;
};

const Root& TheRoot() {
  static const Root root;
  return root;
}

std::string Text(std::size_t size, std::mt19937& random) {
  std::string text;
  while (text.size() < size) {
    text += "face_" + std::to_string(random() % 5000) + " of part " + std::to_string(random() % 100) +
            " at " + std::to_string(random()) + ";";
  }
  text.resize(size);
  return text;
}

std::string MakeFolder(bool small) {
  std::mt19937 random(1);
  const std::string folder = TheRoot().path + (small ? "/small" : "/large");
  for (std::size_t i = 0; i < (small ? kSmallFiles : kLargeFiles); ++i) {
    const fs::path sub = fs::path(folder) / ("sub" + std::to_string(i % 20));
    fs::create_directories(sub);
    std::ofstream(sub / ("file" + std::to_string(i) + ".txt")) << Text(small ? 4096 : 25'000'000, random);
  }
  return folder;
}

std::string MakeArchive(bool small) {
  const std::string archive = TheRoot().path + (small ? "/small.zip" : "/large.zip");
  if (!du::ZipWriter(archive).AddAllFilesFromDir(Folder(small), du::ZipWriter::ZIP_APPEND_STATUS_CREATE,
                                                 true))
    throw std::runtime_error("cannot make " + archive);
  return archive;
}

}  // namespace

const std::string& Folder(bool small) {
  static const std::string folders[] = {MakeFolder(false), MakeFolder(true)};
  return folders[small ? 1 : 0];
}

const std::string& Archive(bool small) {
  static const std::string archives[] = {MakeArchive(false), MakeArchive(true)};
  return archives[small ? 1 : 0];
}

const std::string& NewArchive() {
  static const std::string path = TheRoot().path + "/new.zip";
  fs::remove(path);
  return path;
}

const std::string& Emptied() {
  static const std::string path = TheRoot().path + "/out";
  fs::remove_all(path);
  fs::create_directory(path);
  return path;
}

}  // namespace bench
