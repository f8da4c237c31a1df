// What other classes of the library may do with a FileReader beyond its public operations.
#ifndef LMKUTILS_FILES_INTERNAL_FILE_READER_ACCESS_H
#define LMKUTILS_FILES_INTERNAL_FILE_READER_ACCESS_H

#include <cstddef>

#include "lmkutils/files/file_reader.h"

namespace du::internal {

struct FileReaderAccess {
  // Reads what there is, up to `size` bytes: fewer at the end of the file or of the section, none when that
  // was reached before. Neither end is an error; after a failure the error bit is set, as always.
  static std::size_t ReadAvailable(FileReader& reader, void* target, std::size_t size) noexcept {
    return reader.ReadAvailable(target, size);
  }
};

}  // namespace du::internal

#endif
