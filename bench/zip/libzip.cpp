#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/zip/rows.h"
#include <zip.h>

namespace bench {
namespace {

namespace fs = std::filesystem;

// Files are made under their names at once, and keep the time at which they are made.
struct Libzip {
  static bool Create(const std::string& folder, const std::string& archive) {
    zip_t* const zip = zip_open(archive.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (zip == nullptr) return false;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
      if (!entry.is_regular_file()) continue;
      const std::string name = entry.path().string().substr(folder.size() + 1);
      zip_source_t* const source = zip_source_file(zip, entry.path().c_str(), 0, -1);
      if (zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0) return false;
    }
    return zip_close(zip) == 0;
  }
  static bool List(const std::string& archive, std::size_t count) {
    zip_t* const zip = zip_open(archive.c_str(), ZIP_RDONLY, nullptr);
    if (zip == nullptr) return false;
    std::vector<std::string> names;
    for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i)
      names.emplace_back(zip_get_name(zip, static_cast<zip_uint64_t>(i), 0));
    zip_discard(zip);
    return names.size() == count;
  }
  static bool Extract(const std::string& archive, const std::string& folder) {
    zip_t* const zip = zip_open(archive.c_str(), ZIP_RDONLY, nullptr);
    if (zip == nullptr) return false;
    static std::vector<char> block(256 * 1024);
    for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
      const auto index = static_cast<zip_uint64_t>(i);
      const fs::path path = fs::path(folder) / zip_get_name(zip, index, 0);
      fs::create_directories(path.parent_path());
      zip_file_t* const member = zip_fopen_index(zip, index, 0);
      std::ofstream file(path, std::ios::binary);
      zip_int64_t size = 0;
      while ((size = zip_fread(member, block.data(), block.size())) > 0) file.write(block.data(), size);
      if (zip_fclose(member) != 0 || size < 0 || !file.flush()) return false;
    }
    zip_discard(zip);
    return true;
  }
};

const bool registered = (AddRows<Libzip>("libzip"), true);

}  // namespace
}  // namespace bench
