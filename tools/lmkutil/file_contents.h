// What the bytes of a file tell.
#ifndef LMKUTIL_FILE_CONTENTS_H
#define LMKUTIL_FILE_CONTENTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lmkutils/files/file_reader.h"

namespace lmkutil {

// Reads files, one after the other; less of them when the program is interrupted.
class FileContents {
 public:
  FileContents();

  // Reads as much as the file had when it was looked at, which spares the system the call that tells that it
  // ends there; to its end when that was nothing, since some systems keep files that say so. False when the
  // file cannot be read, and no figures then.
  bool Read(const std::string& path, std::uint64_t size);

  std::uint64_t Size() const { return size_; }
  std::uint32_t Crc32() const { return crc32_; }
  // One of the texts of a catalogue's kinds: the same that FileSystem::IsFileLms, IsFileBinary and
  // IsFileTypeAscii would tell, asked in this order.
  const char* Kind() const;

 private:
  void Take(std::string_view bytes);

  du::FileReader file_;
  std::vector<char> block_;
  std::string start_;  // the first bytes, by which some kinds are known
  std::uint64_t size_ = 0;
  std::uint32_t crc32_ = 0;
  bool isAscii_ = true;
};

}  // namespace lmkutil

#endif
