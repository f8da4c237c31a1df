// Enumeration of a directory.
#ifndef LMKUTILS_FILES_FIND_FILE_H
#define LMKUTILS_FILES_FIND_FILE_H

#include <string>

#include "lmkutils/export.h"
#include "lmkutils/files/file_spec.h"

namespace os {
struct Listing;
}  // namespace os

// A header of Windows makes this name a macro. Callers that include it call FindFirstFileNameW then, which is
// the same function here.
#pragma push_macro("FindFirstFileName")
#undef FindFirstFileName

namespace du {

class Symbol;

// Finds the entries of one directory whose names match a pattern, one after the other in no order:
//
//   du::FindFile find;
//   for (du::FileSpec file = find.FindFirstFileName("C:/parts/*.prt", du::FindFile::FILES_ONLY);
//   !file.empty();
//        file = find.GetNextFileName()) { ... }
//
// In the name of the pattern '*' stands for any characters, none among them, and '?' for one; "*.*" matches
// every name, also one without '.'. Directories of the pattern are taken as they are. Letter case counts but
// on Windows. "." and ".." are never found. A link counts as what it leads to. Entries that come and go
// meanwhile may be found or not.
//
// Not found either, but traced as a Warning, are names of Linux that no path of this library can hold: those
// with a '\' and those that are not UTF-8.
//
// Owned by one thread at a time. Throws nothing but std::bad_alloc.
class LMK_API FindFile {
 public:
  enum TypeConstraint { ANY_TYPE = 0, FILES_ONLY = 1, DIRECTORIES_ONLY = 2 };
  // OTHER_ENTRY: a device, a pipe, a socket.
  enum EntryType { NO_ENTRY, FILE_ENTRY, DIRECTORY_ENTRY, LINK_ENTRY, OTHER_ENTRY };

  FindFile() noexcept = default;
  FindFile(const FindFile&) = delete;
  FindFile& operator=(const FindFile&) = delete;
  ~FindFile();

  // Starts anew with a pattern (UTF-8) and returns the first result: the location of the pattern with the
  // name of the entry as its file. Empty when there is none, or the directory cannot be read. The reference
  // holds until the next call.
  const FileSpec& FindFirstFileName(const char* pattern, TypeConstraint constraint);
  const FileSpec& FindFirstFileName(const std::string& pattern, TypeConstraint constraint);
  const FileSpec& FindFirstFileName(const Symbol& pattern, TypeConstraint constraint);
  const FileSpec& FindFirstFileNameW(const char* pattern, TypeConstraint constraint);
  const FileSpec& FindFirstFileNameW(const std::string& pattern, TypeConstraint constraint);
  const FileSpec& FindFirstFileNameW(const Symbol& pattern, TypeConstraint constraint);
  // The next one; empty at the end, and before any FindFirstFileName.
  const FileSpec& GetNextFileName();

  // What the result is itself, links not followed, as the directory says: whoever walks a tree looks for
  // ANY_TYPE and asks this, which costs nothing. NO_ENTRY when the result is empty.
  EntryType GetEntryType() const noexcept { return entryType_; }

 private:
  void Close() noexcept;
  bool Open(const std::string& pattern);
  bool Accepts(const std::string& name, bool isDirectory) const;
  void SetResult(const std::string& name);

  FileSpec pattern_;
  FileSpec result_;
  std::string namePattern_;  // as the system compares names
  TypeConstraint constraint_ = ANY_TYPE;
  EntryType entryType_ = NO_ENTRY;
  os::Listing* listing_ = nullptr;
};

}  // namespace du

#pragma pop_macro("FindFirstFileName")

#endif
