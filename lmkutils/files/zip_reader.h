// Reading zip archives.
#ifndef LMKUTILS_FILES_ZIP_READER_H
#define LMKUTILS_FILES_ZIP_READER_H

#include <cstdint>
#include <string>
#include <vector>

#include "lmkutils/export.h"

namespace du {

class ZipObserver;

// What an archive's table of contents tells of a member.
struct ZipMember {
  std::string name;              // UTF-8, with '/'
  std::uint64_t size = 0;        // bytes, unpacked
  std::uint64_t packedSize = 0;  // and as they are in the archive
  std::int64_t modified = 0;     // seconds since 1970-01-01 00:00:00 UTC
  std::uint32_t crc = 0;         // CRC-32 of the unpacked bytes
  std::uint16_t method = 0;      // 0 stored, 8 deflated, others cannot be unpacked here
  bool isEncrypted = false;
  bool isDirectory = false;
};

// What a reader takes on at most, so that a small archive cannot fill the disk. Compared with the sizes that
// the archive tells; no member is ever unpacked beyond its own.
struct ZipLimits {
  // Bytes of all members of one call, unpacked.
  std::uint64_t totalSize = std::uint64_t{256} << 30;
  // How many times their packed size that may be. Only looked at beyond `freeSize` bytes: short files pack
  // well.
  std::uint32_t ratio = 200;
  std::uint64_t freeSize = std::uint64_t{256} << 20;
};

// Lists and extracts the members of a zip archive.
//
//   du::ZipReader reader("parts.zip");
//   if (!reader.Extract("*", "parts")) ...
//
// A value that holds the archive's path, the limits, and nothing open: copies are independent, and different
// threads may use different readers, also of one archive. Only archives in one piece are read, members that
// are stored or deflated and not encrypted. Bytes before the archive, as of a program that extracts itself,
// are passed over.
//
// Names are UTF-8: in the archive they are, when flagged so or with a Unicode Path field, or when they could
// be and were made on Unix; else they are in code page 437. '\' counts as '/'. The table of contents is what
// counts: where the header before a member's data tells of another name, method, size or CRC-32 the member is
// not extracted.
//
// All paths are UTF-8. Operations return false after a failure, which is traced under "ZipReader"; nothing
// throws.
class LMK_API ZipReader {
 public:
  static const char ZIP_DIR_CHAR = '/';  // between the parts of a member's name

  ZipReader();
  explicit ZipReader(const std::string& archivePath);
  ZipReader(const ZipReader& other);
  ZipReader& operator=(const ZipReader& other);
  virtual ~ZipReader();

  // From now on this archive is read.
  void Bind(const std::string& archivePath);
  const std::string& GetName() const noexcept { return path_; }

  // Replaces the vector's contents by the names of all members, in the archive's order; those of directories
  // end in '/'. False, and an empty vector, when the archive cannot be read, or for null.
  bool ListContents(std::vector<std::string>* names);
  bool ListMembers(std::vector<ZipMember>* members);

  // Extracts one member, all whose names begin with a name that ends in '/', or all for "" and "*", into a
  // directory, which is made when it is missing, as are the directories of the members in it. Files get the
  // members' modification times (the archive's own, taken as UTC, unless it has exact ones); older files of
  // their names are replaced, each when the new one is complete and its CRC-32 right.
  //
  // Nothing is written when a name could lead out of the directory or mean something else than a file on any
  // of the targets (absolute, "..", a drive or ':', NUL, a device such as "nul", a '.' or blank at the end of
  // a part), when two names are the same to the system, two members share bytes, or the limits are exceeded.
  // Members that are damaged, encrypted, links, packed by other methods, or that would have to pass a link
  // in the directory, are left out; the others are extracted, and the result is false all the same.
  bool Extract(const std::string& memberOrAll, const std::string& destination);

  // Whether Extract would succeed as far as the archive goes; writes nothing.
  bool Test(const std::string& memberOrAll);

  void SetLimits(const ZipLimits& limits) noexcept { limits_ = limits; }
  const ZipLimits& GetLimits() const noexcept { return limits_; }
  // Who follows the work; null for nobody. Not owned.
  void SetObserver(ZipObserver* observer) noexcept { observer_ = observer; }

 private:
  std::string path_;
  ZipLimits limits_;
  ZipObserver* observer_ = nullptr;
};

}  // namespace du

#endif
