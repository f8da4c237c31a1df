// FileSystem: forms of paths.
#include <algorithm>
#include <string_view>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory.h"
#include "lmkutils/text/encoding.h"

namespace du {

const unsigned FileSystem::MAX_TARGET_SIZE_FOR_SAVE;
const unsigned FileSystem::TEMP_DIR_LENGTH;
const char* const FileSystem::s_longPathPrefix = R"(\\?\)";
const wchar_t* const FileSystem::s_longPathPrefixW = LR"(\\?\)";

namespace {

using internal::EndsInSeparator;

constexpr std::size_t kLongestPlainPath = 259;  // UTF-16 units: what the system takes with its terminator

// The directory that a relative path counts from: where paths have drives, "C:x" counts from the directory
// of drive C.
std::string BaseOfRelativePath(std::string_view path) {
  std::string current;
  if (os::CurrentDirectory(current) != os::kSuccess) return {};
  std::string drive;
  internal::ScanDrive(path, drive);
  if (!os::GetCapabilities().absolutePathsHaveDrive || drive.size() != 1) return current;
  std::string currentDrive;
  internal::ScanDrive(current, currentDrive);
  if (drive == currentDrive) return current;
  if (os::CurrentDirectoryOfDrive(drive[0], current) != os::kSuccess) current = drive + R"(:\)";
  return current;
}

// Of an absolute path without a drive, where paths have them: the current one, as in "C:".
std::string CurrentDrive() {
  FileSpec here(FileSystem::GetCurDir(true));
  std::string drive;
  here.GetDrive(&drive);
  if (drive.size() == 1) drive += FileSpec::DRIVE_SEP_CHAR;
  return drive;
}

// With a drive, without "." and "..": the system resolves nothing in the long form.
std::string Completed(const std::string& path) {
  std::string full = FileSystem::MakePathAbsolute(path.c_str());
  const bool rooted =
      internal::StartsWithSeparator(full) && !full.starts_with("//") && !full.starts_with(R"(\\)");
  if (os::GetCapabilities().absolutePathsHaveDrive && rooted) full.insert(0, CurrentDrive());
  return internal::WithoutDots(full);
}

std::string LongForm(const std::string& path, bool isFile) {
  std::string text = FileSystem::s_longPathPrefix;
  const std::size_t start = text.size();
  text += path;
  std::replace(text.begin(), text.end(), FileSpec::ALT_DIR_SEP_CHAR, FileSpec::DIR_SEP_CHAR);
  if (!isFile && text.back() != FileSpec::DIR_SEP_CHAR) text += FileSpec::DIR_SEP_CHAR;
  const auto doubled = [](char a, char b) {
    return a == FileSpec::DIR_SEP_CHAR && b == FileSpec::DIR_SEP_CHAR;
  };
  const auto body = text.begin() + static_cast<std::ptrdiff_t>(start);
  text.erase(std::unique(body, text.end(), doubled), text.end());
  return text;
}

}  // namespace

std::string FileSystem::GetCurDir(bool withTrailingSeparator) {
  std::string path;
  if (const os::SystemError error = os::CurrentDirectory(path)) {
    os::SetLastSystemError(error);
    return {};
  }
  if (withTrailingSeparator && !EndsInSeparator(path)) path += os::GetCapabilities().separator;
  return path;
}

std::string FileSystem::MakePathAbsolute(const char* path) {
  const std::string_view text = internal::TextOf(path);
  if (text.empty() || FileSpec::IsAbsolute(path)) return std::string(text);
  std::string full = BaseOfRelativePath(text);
  if (full.empty()) return {};
  if (!EndsInSeparator(full)) full += os::GetCapabilities().separator;
  const bool hasDrive = os::GetCapabilities().absolutePathsHaveDrive && internal::StartsWithDriveLetter(path);
  return full + internal::InSystemSeparators(std::string(text.substr(hasDrive ? 2 : 0)));
}

std::string FileSystem::GenerateLongFilePath(const std::string& path, bool isFile) {
  if (path.empty() || internal::IsUncPath(path)) return path;
  if (!FileSpec::IsAbsolute(path) && ToUtf16(path).size() <= kLongestPlainPath) return path;
  std::string full = Completed(path);
  if (full.empty() || internal::IsUncPath(full)) return full;
  return LongForm(full, isFile);
}

std::wstring FileSystem::GenerateLongFilePath(const std::wstring& path, bool isFile) {
  std::string narrow;
  if (!ConvertText(path, narrow)) return path;  // not a path; nothing to be gained
  return ToWide(GenerateLongFilePath(narrow, isFile));
}

}  // namespace du
