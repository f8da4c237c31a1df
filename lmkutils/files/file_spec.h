#ifndef LMKUTILS_FILES_FILE_SPEC_H
#define LMKUTILS_FILES_FILE_SPEC_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lmkutils/export.h"

namespace du {

// The parsed form of a file path: a drive, the directory names, the file's base name and extension, and
// whether the directories start at a root.
//
//   C:\parts\gear.prt.12     drive C, directories parts, base name gear, extension prt.12, absolute
//   C:parts\gear.prt         drive C, directories parts, base name gear, extension prt, relative
//   \\srv\share\a\b.c        drive \\srv\share, directories a, base name b, extension c, absolute
//   a//b/c                   no drive, directories a and b, base name c, no extension, relative
//
// A value: copies are independent, the caller owns it, and like any standard container one object may be read
// by several threads as long as none changes it. The file system is never asked, except that a root-relative
// text (`\parts\gear.prt`) takes its drive from the current directory of the process where paths have
// drives; it stays without one on Linux, and where the current directory cannot be read.
//
// '\' and '/' are separators on input everywhere; the texts built here always hold '\'. On Linux a file
// operation is therefore given the caller's text, not a rebuilt one. Text is bytes (UTF-8 where the caller
// says so); names are compared byte for byte on every target. Malformed text always yields some value; a NUL
// byte is kept like any other.
//
// Building a parsed path back and parsing that again gives an equal value, except that a file name loses a
// '.' at its end ("a." is base name "a" with an empty extension) and that a server without a share gains the
// separator.
//
// Every operation that stores text may throw std::bad_alloc. Assigning to an object that is used again and
// again costs no allocation once its strings have grown.
class LMK_API FileSpec {
 public:
  static const char DIR_SEP_CHAR = '\\';
  static const char ALT_DIR_SEP_CHAR = '/';
  static const char DRIVE_SEP_CHAR = ':';
  static const char EXT_SEP_CHAR = '.';

  // The directory names, from the root (or the current position) down. Iterators are random-access; inserting
  // and erasing invalidates them, except for the one that is returned. A name written through a mutable
  // iterator must be neither empty nor hold a separator.
  using DirList = std::vector<std::string>;
  using iterator = DirList::iterator;
  using const_iterator = DirList::const_iterator;

  FileSpec() = default;
  // Parse a whole specification, as SetFileSpec does. Null is as empty.
  FileSpec(const char* text);
  FileSpec(const std::string& text);
  FileSpec& operator=(const char* text);
  FileSpec& operator=(const std::string& text);

  void clear() noexcept;
  // True when all fields are as after `clear`; the root alone ("\" where there are no drives) is not empty.
  bool empty() const noexcept;

  // -- The whole path. Getters replace `*out`; they return false when `out` is null, and for the reason that
  // they name. The text given to a setter may be part of this object.

  // The location with a trailing separator, then the file name.
  bool GetFileSpec(std::string* out) const;
  // The text after the last separator is the file name: see SetFile for how it is split.
  void SetFileSpec(const std::string& text);

  // Drive and directories: "C:\a\b", "C:a", "\\srv\share\a". With a trailing separator a '\' is appended
  // unless the text is empty or already ends in '\', '/' or the ':' of the drive.
  bool GetLocation(std::string* out, bool withTrailingSeparator) const;
  // All of `text` is drive and directories; the file name stays.
  void SetLocation(const std::string& text);

  // The directories alone: "a\b", "\a\b" when absolute. False when there are none; `*out` is then "\" when
  // absolute, else "" .
  bool GetDirPath(std::string* out, bool withTrailingSeparator) const;
  // As SetLocation, but the drive stays when `text` names none; only a FileSpec without a drive then takes
  // the current directory's for a root-relative text.
  void SetDirPath(const std::string& text);

  // -- The parts. Except for SetFile, the setters store the text as given, separators and all.

  // "C" or "\\server\share"; "" and false when there is none.
  bool GetDrive(std::string* out) const;
  void SetDrive(const std::string& drive);

  // Base name, then '.' and the extension when that is not empty; "" and false when both are empty.
  bool GetFile(std::string* out) const;
  // Splits at the last '.': "a.tar.gz" is "a.tar" and "gz". Names of dots alone have no extension. A numbered
  // version is split at the first '.': when the extension so found is a number from 1 to 254 (leading zeros
  // allowed), it belongs to the extension before it. "gear.prt.12" is "gear" and "prt.12"; "log.2024" is
  // "log" and "2024".
  void SetFile(const std::string& name);

  bool GetFileBaseName(std::string* out) const;
  void SetFileBaseName(const std::string& baseName);
  // Without the '.' before it.
  bool GetFileExtension(std::string* out) const;
  void SetFileExtension(const std::string& extension);

  // This path seen from the directory `base`: "..\" for each directory of `base` that the two do not share,
  // then the rest of this one. "" when this is `base` itself and has no file name. The full GetFileSpec text
  // is the result when no such path exists (another drive, one of them relative, a ".." among the directories
  // to step out of) or when it would need steps up and `allowParentSteps` is false. Nothing is normalised:
  // see RemoveDotAndDotDot.
  std::string GetRelativePath(const std::string& base, bool allowParentSteps) const;

  // -- The directory list. It never holds an empty name: inserting one does nothing. A list that would exceed
  // its maximum size throws std::length_error ("list too long").

  iterator DirBegin() noexcept { return directories_.begin(); }
  iterator DirEnd() noexcept { return directories_.end(); }
  const_iterator DirBegin() const noexcept { return directories_.begin(); }
  const_iterator DirEnd() const noexcept { return directories_.end(); }
  std::size_t DirCount() const noexcept { return directories_.size(); }
  // The empty string when there are no directories.
  const std::string& DirFront() const noexcept;
  const std::string& DirBack() const noexcept;

  // Insert before `position`; the position of the first inserted name, or `position` when nothing was. The
  // text or the range may be part of this list.
  iterator DirInsert(iterator position, const std::string& name);
  iterator DirInsert(iterator position, const_iterator first, const_iterator last);
  // The position behind what was erased.
  iterator DirErase(iterator position);
  iterator DirErase(iterator first, iterator last);
  void DirPushBack(const std::string& name);
  void DirPushFront(const std::string& name);
  // Nothing when there are no directories.
  void DirPopBack() noexcept;
  void DirPopFront() noexcept;

  // -- Absolute or relative: whether the directories start at a root, whatever the drive.

  bool IsAbsolute() const noexcept { return absolute_; }
  bool IsRelative() const noexcept { return !absolute_; }
  void MarkAsAbsolute() noexcept { absolute_ = true; }
  void MarkAsRelative() noexcept { absolute_ = false; }
  // Whether `text` starts with a separator (any UNC name does), or with a drive letter, ':' and a separator.
  // Null and empty text do not.
  static bool IsAbsolute(const char* text) noexcept;
  static bool IsAbsolute(const std::string& text) noexcept;

  static constexpr bool IsDirSeparator(char c) noexcept { return c == DIR_SEP_CHAR || c == ALT_DIR_SEP_CHAR; }

  // Removes each ".", and each ".." together with the directory before it, without looking at links.
  //   a\.\b\..\..\c -> c     \a\..\..\b -> \..\b     dir\.. -> .     ..\.. -> ..\..
  // Leading ".." stay, also behind a root: whoever decides about safety must test for them.
  // A file name "." or ".." is resolved too: the last directory left becomes the file name, split at its last
  // '.' without regard to numbered versions. When none is left the file name is "" behind a drive or a root,
  // else ".".
  void RemoveDotAndDotDot();

  // All fields, byte for byte.
  bool operator==(const FileSpec& other) const noexcept;
  // A strict weak order for maps, consistent with ==: by drive, relative before absolute, directories, base
  // name, extension; bytes compare as unsigned.
  bool operator<(const FileSpec& other) const noexcept;

 private:
  enum class TextWithoutDrive { kClearsDrive, kKeepsDrive };

  bool OwnsStorageOf(std::string_view text) const noexcept;
  void Assign(std::string_view text);
  std::string_view ParseDriveAndDirectories(std::string_view text, TextWithoutDrive rule);
  void ParseLocation(std::string_view text, TextWithoutDrive rule);
  void PutDirectory(std::size_t index, std::string_view name);
  void CheckRoom(std::size_t more) const;
  void StoreFile(std::string_view name);
  void AppendDirPath(std::string& out, bool withTrailingSeparator) const;
  void AppendLocation(std::string& out, bool withTrailingSeparator) const;
  void AppendFile(std::string& out) const;
  std::size_t TextLength() const noexcept;
  void CollapseDirectories() noexcept;
  void ResolveFileName();

  std::string drive_;
  DirList directories_;
  std::string baseName_;
  std::string extension_;
  bool absolute_ = false;
};

}  // namespace du

#endif
