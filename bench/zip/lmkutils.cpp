#include <string>
#include <vector>

#include "bench/zip/rows.h"

#include "lmkutils/files/zip_reader.h"
#include "lmkutils/files/zip_writer.h"

namespace bench {
namespace {

struct Ours {
  static bool Create(const std::string& folder, const std::string& archive) {
    return du::ZipWriter(archive).AddAllFilesFromDir(folder, du::ZipWriter::ZIP_APPEND_STATUS_CREATE, true);
  }
  static bool List(const std::string& archive, std::size_t count) {
    std::vector<std::string> names;
    return du::ZipReader(archive).ListContents(&names) && names.size() == count;
  }
  static bool Extract(const std::string& archive, const std::string& folder) {
    return du::ZipReader(archive).Extract("*", folder);
  }
};

const bool registered = (AddRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
