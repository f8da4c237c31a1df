// Any bytes as an archive: whatever is in it, nothing is written but regular files and directories in the
// destination, within the limits; what is listed can be asked for; and adding to it succeeds or leaves it as
// it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "lmkutils/files/zip_reader.h"
#include "lmkutils/files/zip_writer.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMostBytes = 1 << 20;

void Require(bool condition, const char* what) {
  if (condition) return;
  std::cerr << what << '\n';
  std::abort();
}

// One folder for all inputs of the process: the archive, a file to add, and the destination.
const fs::path& Folder() {
  static const fs::path folder = [] {
    const auto name = "lmk-zip-fuzzer-" + std::to_string(std::random_device()());
    fs::path path = fs::temp_directory_path() / name;
    fs::create_directory(path);
    std::ofstream(path / "file") << "added";
    return path;
  }();
  return folder;
}

std::string Text(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::string Bytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// How many bytes were extracted.
std::uint64_t CheckDestination() {
  std::uint64_t size = 0;
  for (const auto& entry : fs::recursive_directory_iterator(Folder() / "out")) {
    Require(entry.is_directory() || entry.is_regular_file(), "neither file nor directory");
    if (entry.is_regular_file()) size += entry.file_size();
  }
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(Folder())) {
    Require(entry.path().filename() == "out" || entry.path().filename() == "file" ||
                entry.path().filename() == "archive.zip",
            "something outside of the destination");
    ++count;
  }
  Require(count == 3, "something is gone");
  return size;
}

void CheckReading(const std::string& archive) {
  du::ZipReader reader(archive);
  reader.SetLimits({.totalSize = kMostBytes, .freeSize = kMostBytes});
  std::vector<std::string> names;
  std::vector<du::ZipMember> members;
  const bool listed = reader.ListContents(&names);
  Require(listed == reader.ListMembers(&members) && names.size() == members.size(), "two lists");
  const bool good = reader.Test("*");
  Require(listed || !good, "good, but not to be listed");
  fs::create_directory(Folder() / "out");
  const bool extracted = reader.Extract("*", Text(Folder() / "out"));
  Require(good || !extracted, "extracted, but not good");
  const std::uint64_t size = CheckDestination();
  Require(size <= kMostBytes, "more than the limits allow");
  std::uint64_t expected = 0;
  for (const du::ZipMember& member : members) expected += member.size;
  Require(!extracted || size == expected, "another size than was told");
  fs::remove_all(Folder() / "out");
}

void CheckAdding(const std::string& archive, const std::string& before) {
  du::ZipReader reader(archive);
  std::vector<std::string> names;
  const bool listed = reader.ListContents(&names);
  const bool added = du::ZipWriter(archive).AddFile(Text(Folder() / "file"), "a name of its own",
                                                    du::ZipWriter::ZIP_APPEND_STATUS_ADDINZIP);
  if (!added) {
    Require(Bytes(archive) == before, "changed by a failed add");
    return;
  }
  std::vector<std::string> after;
  Require(listed && reader.ListContents(&after), "added to what cannot be read");
  names.emplace_back("a name of its own");
  Require(after == names, "other members than before");
  Require(reader.Test("a name of its own"), "what was added is not good");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const fs::path archive = Folder() / "archive.zip";
  std::ofstream(archive, std::ios::binary) << bytes;
  CheckReading(Text(archive));
  CheckAdding(Text(archive), bytes);
  fs::remove(archive);
  return 0;
}
