// Following the work on a zip archive.
#ifndef LMKUTILS_FILES_ZIP_OBSERVER_H
#define LMKUTILS_FILES_ZIP_OBSERVER_H

#include <cstdint>
#include <string>

#include "lmkutils/export.h"

namespace du {

// Why something of an archive, or the whole of it, was not read or written.
enum class ZipProblem {
  kCannotOpen,         // the archive cannot be opened or made
  kNotAnArchive,       // it has no table of contents, or a damaged one
  kNotFound,           // it has no such member
  kUnsafeName,         // the member's name leads out of the destination, or means something else than a file
  kSameName,           // two members have one name
  kOverlap,            // two members share bytes of the archive
  kHeadersDiffer,      // the member is told of differently before its data and in the table of contents
  kLimit,              // the sizes that are told exceed the limits
  kEncrypted,          // the member is encrypted
  kUnknownMethod,      // the member is packed by a method other than deflate
  kLink,               // the member stands for a symbolic link
  kDamaged,            // the data of the member are cut or wrong: they do not unpack, or the CRC-32 differs
  kNoDirectory,        // a link, or a file, stands where the member needs a directory
  kCannotWriteFile,    // the member's file, or directory, cannot be made
  kCannotReadFile,     // the file to be added cannot be read
  kNameNotAllowed,     // the file cannot be added under that name
  kNeedsZip64,         // the file does not fit while the 64-bit extension is switched off
  kCannotWriteArchive  // the disk is full, for one
};

// Told what a ZipWriter or ZipReader is doing. Made and owned by the caller; called on the thread that does
// the work, and must not throw. Problems are traced whether anybody observes or not.
class LMK_API ZipObserver {
 public:
  virtual ~ZipObserver();

  // `bytes` more of the member, unpacked, are done; at least once for each member, with 0 for an empty one.
  // False ends the work as a failure would: nothing half done is left.
  virtual bool Progress(const std::string& member, std::uint64_t bytes);
  // `name` is the path of the file that was to be added, or that of the archive when the whole of it is
  // concerned; else the member's name.
  virtual void Problem(ZipProblem problem, const std::string& name);
};

}  // namespace du

#endif
