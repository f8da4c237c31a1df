// Unpacking members into a directory.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_EXTRACTION_H
#define LMKUTILS_FILES_INTERNAL_ZIP_EXTRACTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/files/internal/tree_walk.h"
#include "lmkutils/files/internal/zip_contents.h"

namespace du::internal {

// Moves through the destination by handle, so that no link in it is followed, whoever puts one there in the
// meantime. A file takes its name, and another one's place, when its bytes are complete and checked.
class ZipExtraction {
 public:
  ZipExtraction(ZipContents& contents, const ZipReport& report) noexcept
      : contents_(contents), report_(report) {}

  // `destination` is made when it is missing, and may itself be a link.
  bool Open(const std::string& destination);
  bool Run();

 private:
  bool ExtractEntry(const ZipEntry& entry);
  bool ExtractShort(const ZipEntry& entry, const std::string& name);
  bool ExtractLong(const ZipEntry& entry, const std::string& name);
  os::SystemError GoTo(const std::vector<std::string>& parts, std::size_t directories);
  os::SystemError EnterOrMake(const std::string& name);
  bool Advance(const std::string& name, std::uint64_t bytes);

  ZipContents& contents_;
  const ZipReport& report_;
  OwnedTree tree_;
  std::vector<std::string> where_;  // the directories on the way to where the tree stands
  HeapBlock block_;
  bool stopped_ = false;  // the observer wants no more, or the way back is gone
};

}  // namespace du::internal

#endif
