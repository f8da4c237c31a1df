#include "lmkutils/files/file_spec.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <new>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory.h"

namespace du {
namespace {

constexpr std::string_view kHere = ".";
constexpr std::string_view kUp = "..";

std::string_view View(const char* text) noexcept {
  return text ? std::string_view(text) : std::string_view();
}

// The drive that a root-relative path gets. Not asked for where paths have none: it would cost a system call
// for every absolute path of Linux.
void TakeCurrentDrive(std::string& drive) {
  std::string current;
  if (!os::GetCapabilities().absolutePathsHaveDrive || os::CurrentDirectory(current) != 0) return;
  internal::ScanDrive(current, drive);
}

bool StartsWithSeparator(std::string_view text) noexcept {
  return !text.empty() && FileSpec::IsDirSeparator(text[0]);
}

bool IsUncDrive(std::string_view drive) noexcept {
  return drive.size() >= 2 && FileSpec::IsDirSeparator(drive[0]) && FileSpec::IsDirSeparator(drive[1]);
}

// Never destroyed, since callers may hold the reference until the very end.
const std::string& EmptyText() noexcept {
  alignas(std::string) static std::byte storage[sizeof(std::string)];
  static const std::string* const text = new (storage) std::string;
  return *text;
}

}  // namespace

const char FileSpec::DIR_SEP_CHAR;
const char FileSpec::ALT_DIR_SEP_CHAR;
const char FileSpec::DRIVE_SEP_CHAR;
const char FileSpec::EXT_SEP_CHAR;

FileSpec::FileSpec(const char* text) {
  Assign(View(text));
}

FileSpec::FileSpec(const std::string& text) {
  Assign(text);
}

FileSpec& FileSpec::operator=(const char* text) {
  Assign(View(text));
  return *this;
}

FileSpec& FileSpec::operator=(const std::string& text) {
  Assign(text);
  return *this;
}

void FileSpec::clear() noexcept {
  drive_.clear();
  directories_.clear();
  baseName_.clear();
  extension_.clear();
  absolute_ = false;
}

bool FileSpec::empty() const noexcept {
  return drive_.empty() && directories_.empty() && baseName_.empty() && extension_.empty() && !absolute_;
}

// -- Parsing. Strings that are there already are overwritten, so that an object used in a loop stops
// allocating; text that lies in one of them is copied first.

bool FileSpec::OwnsStorageOf(std::string_view text) const noexcept {
  const auto holds = [text](const std::string& mine) {
    constexpr std::less<const char*> before;
    return !before(text.data(), mine.data()) && !before(mine.data() + mine.size(), text.data());
  };
  return holds(drive_) || holds(baseName_) || holds(extension_) ||
         std::any_of(directories_.begin(), directories_.end(), holds);
}

void FileSpec::Assign(std::string_view text) {
  if (OwnsStorageOf(text)) return Assign(std::string(text));
  StoreFile(ParseDriveAndDirectories(text, TextWithoutDrive::kClearsDrive));
}

// The rest behind the last separator.
std::string_view FileSpec::ParseDriveAndDirectories(std::string_view text, TextWithoutDrive rule) {
  std::string previous;
  if (rule == TextWithoutDrive::kKeepsDrive) previous.swap(drive_);
  const internal::DriveScan drive = internal::ScanDrive(text, drive_);
  if (!drive.found) drive_.swap(previous);

  text.remove_prefix(drive.length);
  const bool rooted = StartsWithSeparator(text);
  absolute_ = rooted || drive.sharePresent;
  if (rooted && drive_.empty()) TakeCurrentDrive(drive_);

  std::size_t count = 0;
  for (std::string_view name; internal::NextDirectory(text, name);) PutDirectory(count++, name);
  directories_.erase(directories_.begin() + static_cast<std::ptrdiff_t>(count), directories_.end());
  return text;
}

void FileSpec::ParseLocation(std::string_view text, TextWithoutDrive rule) {
  if (OwnsStorageOf(text)) return ParseLocation(std::string(text), rule);
  const std::string_view last = ParseDriveAndDirectories(text, rule);
  if (!last.empty()) PutDirectory(directories_.size(), last);
}

void FileSpec::PutDirectory(std::size_t index, std::string_view name) {
  if (index < directories_.size()) {
    directories_[index].assign(name);
    return;
  }
  CheckRoom(1);
  // One allocation serves most paths; counting their separators first costs more than the room.
  constexpr std::size_t kUsualDepth = 8;
  if (directories_.capacity() == 0) directories_.reserve(kUsualDepth);
  directories_.emplace_back(name);
}

void FileSpec::CheckRoom(std::size_t more) const {
  if (more > directories_.max_size() - directories_.size()) throw std::length_error("list too long");
}

void FileSpec::StoreFile(std::string_view name) {
  const internal::FileName file = internal::SplitFileName(name);
  baseName_.assign(file.base);
  extension_.assign(file.extension);
}

void FileSpec::SetFileSpec(const std::string& text) {
  Assign(text);
}

void FileSpec::SetLocation(const std::string& text) {
  ParseLocation(text, TextWithoutDrive::kClearsDrive);
}

void FileSpec::SetDirPath(const std::string& text) {
  ParseLocation(text, TextWithoutDrive::kKeepsDrive);
}

void FileSpec::SetDrive(const std::string& drive) {
  drive_ = drive;
}

void FileSpec::SetFile(const std::string& name) {
  if (OwnsStorageOf(name)) return StoreFile(std::string(name));
  StoreFile(name);
}

void FileSpec::SetFileBaseName(const std::string& baseName) {
  baseName_ = baseName;
}

void FileSpec::SetFileExtension(const std::string& extension) {
  extension_ = extension;
}

bool FileSpec::IsAbsolute(const char* text) noexcept {
  return text &&
         (IsDirSeparator(text[0]) || (internal::StartsWithDriveLetter(text) && IsDirSeparator(text[2])));
}

bool FileSpec::IsAbsolute(const std::string& text) noexcept {
  return IsAbsolute(text.c_str());
}

// -- Building

std::size_t FileSpec::TextLength() const noexcept {
  std::size_t length = drive_.size() + baseName_.size() + extension_.size() + 4;
  for (const std::string& name : directories_) length += name.size() + 1;
  return length;
}

void FileSpec::AppendDirPath(std::string& out, bool withTrailingSeparator) const {
  if (absolute_) out += DIR_SEP_CHAR;
  if (directories_.empty()) return;
  for (const std::string& name : directories_) {
    if (&name != &directories_.front()) out += DIR_SEP_CHAR;
    out += name;
  }
  if (withTrailingSeparator && !IsDirSeparator(out.back())) out += DIR_SEP_CHAR;
}

void FileSpec::AppendLocation(std::string& out, bool withTrailingSeparator) const {
  out += drive_;
  const bool unc = IsUncDrive(drive_);
  if (!drive_.empty() && !unc && drive_.back() != DRIVE_SEP_CHAR) out += DRIVE_SEP_CHAR;
  const bool followed = !directories_.empty() || withTrailingSeparator;
  // Without it the first name would become part of the server's or the share's.
  if (unc && !absolute_ && followed && !IsDirSeparator(out.back())) out += DIR_SEP_CHAR;
  AppendDirPath(out, withTrailingSeparator);
}

void FileSpec::AppendFile(std::string& out) const {
  out += baseName_;
  if (extension_.empty()) return;
  out += EXT_SEP_CHAR;
  out += extension_;
}

bool FileSpec::GetFileSpec(std::string* out) const {
  if (!out) return false;
  out->clear();
  out->reserve(TextLength());
  AppendLocation(*out, true);
  AppendFile(*out);
  return true;
}

bool FileSpec::GetLocation(std::string* out, bool withTrailingSeparator) const {
  if (!out) return false;
  out->clear();
  out->reserve(TextLength());
  AppendLocation(*out, withTrailingSeparator);
  return true;
}

bool FileSpec::GetDirPath(std::string* out, bool withTrailingSeparator) const {
  if (!out) return false;
  out->clear();
  AppendDirPath(*out, withTrailingSeparator);
  return !directories_.empty();
}

bool FileSpec::GetDrive(std::string* out) const {
  if (!out) return false;
  *out = drive_;
  return !drive_.empty();
}

bool FileSpec::GetFile(std::string* out) const {
  if (!out) return false;
  out->clear();
  AppendFile(*out);
  return !out->empty();
}

bool FileSpec::GetFileBaseName(std::string* out) const {
  if (!out) return false;
  *out = baseName_;
  return true;
}

bool FileSpec::GetFileExtension(std::string* out) const {
  if (!out) return false;
  *out = extension_;
  return true;
}

std::string FileSpec::GetRelativePath(const std::string& base, bool allowParentSteps) const {
  FileSpec from;
  from.SetLocation(base);
  const DirList& theirs = from.directories_;
  const auto [mine, left] =
      std::mismatch(directories_.begin(), directories_.end(), theirs.begin(), theirs.end());

  std::string result;
  result.reserve(TextLength());
  const bool needsSteps = left != theirs.end();
  if (from.drive_ != drive_ || from.absolute_ != absolute_ || (needsSteps && !allowParentSteps) ||
      std::find(left, theirs.end(), kUp) != theirs.end()) {
    GetFileSpec(&result);
    return result;
  }
  for (auto step = left; step != theirs.end(); ++step) result.append(kUp).push_back(DIR_SEP_CHAR);
  for (auto name = mine; name != directories_.end(); ++name) result.append(*name).push_back(DIR_SEP_CHAR);
  AppendFile(result);
  return result;
}

// -- The directory list

const std::string& FileSpec::DirFront() const noexcept {
  return directories_.empty() ? EmptyText() : directories_.front();
}

const std::string& FileSpec::DirBack() const noexcept {
  return directories_.empty() ? EmptyText() : directories_.back();
}

FileSpec::iterator FileSpec::DirInsert(iterator position, const std::string& name) {
  if (name.empty()) return position;
  CheckRoom(1);
  return directories_.insert(position, name);
}

FileSpec::iterator FileSpec::DirInsert(iterator position, const_iterator first, const_iterator last) {
  // A copy, since the range may lie in the list that moves.
  DirList names;
  std::copy_if(first, last, std::back_inserter(names), [](const std::string& name) { return !name.empty(); });
  CheckRoom(names.size());
  return directories_.insert(position, std::make_move_iterator(names.begin()),
                             std::make_move_iterator(names.end()));
}

FileSpec::iterator FileSpec::DirErase(iterator position) {
  return directories_.erase(position);
}

FileSpec::iterator FileSpec::DirErase(iterator first, iterator last) {
  return directories_.erase(first, last);
}

void FileSpec::DirPushBack(const std::string& name) {
  DirInsert(directories_.end(), name);
}

void FileSpec::DirPushFront(const std::string& name) {
  DirInsert(directories_.begin(), name);
}

void FileSpec::DirPopBack() noexcept {
  if (!directories_.empty()) directories_.pop_back();
}

void FileSpec::DirPopFront() noexcept {
  if (!directories_.empty()) directories_.erase(directories_.begin());
}

// -- Normalisation

void FileSpec::CollapseDirectories() noexcept {
  auto end = directories_.begin();  // of what is kept so far
  for (std::string& name : directories_) {
    if (name == kHere) continue;
    if (name == kUp && end != directories_.begin() && *std::prev(end) != kUp) {
      --end;
      continue;
    }
    end->swap(name);
    ++end;
  }
  directories_.erase(end, directories_.end());
}

void FileSpec::ResolveFileName() {
  if (!extension_.empty()) return;
  if (baseName_ == kUp) {
    // A ".." cannot be cancelled by another one: dropping both would turn two levels up into none.
    if (directories_.empty() || directories_.back() == kUp) return;
    directories_.pop_back();
  } else if (baseName_ != kHere) {
    return;
  }
  if (directories_.empty()) {
    baseName_ = drive_.empty() && !absolute_ ? kHere : std::string_view();
    return;
  }
  const std::string last = std::move(directories_.back());
  directories_.pop_back();
  const internal::FileName file = internal::SplitAtLastDot(last);
  baseName_.assign(file.base);
  extension_.assign(file.extension);
}

void FileSpec::RemoveDotAndDotDot() {
  CollapseDirectories();
  ResolveFileName();
}

// -- Comparison

bool FileSpec::operator==(const FileSpec& other) const noexcept {
  // Names first: neighbours in a folder differ there.
  return baseName_ == other.baseName_ && extension_ == other.extension_ && absolute_ == other.absolute_ &&
         drive_ == other.drive_ && directories_ == other.directories_;
}

bool FileSpec::operator<(const FileSpec& other) const noexcept {
  return std::tie(drive_, absolute_, directories_, baseName_, extension_) <
         std::tie(other.drive_, other.absolute_, other.directories_, other.baseName_, other.extension_);
}

}  // namespace du
