#include "lmkutils/testing/temp_dir.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace lmktest {
namespace {

namespace fs = std::filesystem;

fs::path FromUtf8(std::string_view text) {
  return fs::path(std::u8string(text.begin(), text.end()));
}

std::string ToUtf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace

TempDir::TempDir(std::string_view stem) {
  std::random_device random;
  fs::path path;
  do {
    path = fs::temp_directory_path() / FromUtf8(std::string(stem) + "-" + std::to_string(random()));
  } while (!fs::create_directory(path));
  path_ = ToUtf8(path.make_preferred());
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(FromUtf8(path_), ignored);
}

std::string TempDir::File(std::string_view name) const {
  return ToUtf8((FromUtf8(path_) / FromUtf8(name)).make_preferred());
}

std::string TempDir::Write(std::string_view name, std::string_view bytes) const {
  const std::string path = File(name);
  std::ofstream file(FromUtf8(path), std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file)
    throw fs::filesystem_error("cannot write", FromUtf8(path), std::make_error_code(std::errc::io_error));
  return path;
}

std::string TempDir::Read(std::string_view name) const {
  return ReadWholeFile(File(name));
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(FromUtf8(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace lmktest
