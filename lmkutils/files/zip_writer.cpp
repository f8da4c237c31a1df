#include "lmkutils/files/zip_writer.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/opened_file.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/without_throwing.h"
#include "lmkutils/files/internal/zip_name.h"
#include "lmkutils/files/internal/zip_output.h"
#include "lmkutils/files/internal/zip_time.h"
#include "lmkutils/files/internal/zip_writer_failure.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/name_case.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

using internal::OpenedFile;
using internal::WithoutThrowing;
using internal::ZipMemberHeader;
using internal::ZipOutput;

constexpr std::size_t kChunk = 8192;
constexpr int kStoredLevel = 0;
constexpr int kThisLevel = 0;
constexpr int kAllLevels = -1;

// The largest file without Zip64.
constexpr std::uint64_t kLargestShort = 0xFFFFFFFE;

// The product's own package formats, which are packed already.
constexpr std::array<std::string_view, 4> kPackedExtensions = {"lmz", "qdz", "qo", "lms"};

// The words of the steps, for traces.
constexpr const char* kOpeningMember = "Opening new file in zip";
constexpr const char* kOpeningSource = "Open to file for reading";
constexpr const char* kWriting = "Writing to file into zip";
constexpr const char* kClosingMember = "Closing file inside zip";
constexpr const char* kClosingArchive = "Closing zip file";

dp::LMTracer Tracer() noexcept {
  return {"ZipWriter", ""};
}

int LevelFor(const std::string& path) {
  std::string extension;
  FileSpec(path).GetFileExtension(&extension);
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  const bool isPacked =
      std::find(kPackedExtensions.begin(), kPackedExtensions.end(), extension) != kPackedExtensions.end();
  return isPacked ? kStoredLevel : Z_DEFAULT_COMPRESSION;
}

// As exclusions are compared: absolute, without dots, with one separator between names and none at the end,
// and without what the system disregards.
std::string ComparablePath(const std::string& path) {
  std::string text = internal::WithoutDots(FileSystem::MakePathAbsolute(path.c_str()));
  std::replace(text.begin(), text.end(), FileSpec::ALT_DIR_SEP_CHAR, FileSpec::DIR_SEP_CHAR);
  const auto areSeparators = [](char left, char right) {
    return left == FileSpec::DIR_SEP_CHAR && right == FileSpec::DIR_SEP_CHAR;
  };
  text.erase(std::unique(text.begin(), text.end(), areSeparators), text.end());
  if (text.ends_with(FileSpec::DIR_SEP_CHAR)) text.pop_back();
  return os::FoldName(std::move(text));
}

bool LiesIn(const std::string& path, const std::string& directory) noexcept {
  return path.starts_with(directory) &&
         (path.size() == directory.size() || path[directory.size()] == FileSpec::DIR_SEP_CHAR);
}

bool IsLinkToDirectory(const std::string& path) {
  os::FileStatus status;
  return os::QueryEntryStatus(path.c_str(), &status) == os::kSuccess && status.kind == os::EntryKind::kLink &&
         FileSystem::DirExists(path.c_str());
}

}  // namespace

ZipWriter::ZipWriter(const std::string& archivePath) : path_(archivePath) {}

ZipWriter::ZipWriter(const ZipWriter& other) = default;

ZipWriter& ZipWriter::operator=(const ZipWriter& other) = default;

ZipWriter::~ZipWriter() = default;

void ZipWriter::ExcludeFile(const std::string& path) {
  if (!path.empty()) excludedFiles_.push_back(ComparablePath(path));
}

void ZipWriter::ExcludeDirPath(const std::string& path) {
  if (!path.empty()) excludedDirs_.push_back(ComparablePath(path));
}

bool ZipWriter::IsExcluded(const std::string& path) const {
  if (excludedFiles_.empty() && excludedDirs_.empty()) return false;
  const std::string text = ComparablePath(path);
  return std::find(excludedFiles_.begin(), excludedFiles_.end(), text) != excludedFiles_.end() ||
         std::any_of(excludedDirs_.begin(), excludedDirs_.end(),
                     [&text](const std::string& directory) { return LiesIn(text, directory); });
}

void ZipWriter::TraceErrorCode(int code, const std::string& what) {
  const char* kind = nullptr;
  if (code == ZIP_INTERNALERROR) kind = "ZipWriter: Internal Error; ";
  if (code == ZIP_PARAMERROR) kind = "ZipWriter: Parameter error; ";
  if (code == ZIP_ERRNO) kind = "ZipWriter: Failed to write to file; ";
  if (kind != nullptr) Tracer()(dp::TraceType::Error, "%s%s", kind, what.c_str());
}

bool ZipWriter::Fail(ZipOutput& archive, const Failure& failure, const std::string& path) const {
  archive.Count(false);
  TraceErrorCode(failure.code, failure.step);
  Tracer()(dp::TraceType::Error, "ZipWriter: %s: %s", path.c_str(),
           failure.error != os::kSuccess ? os::SystemErrorText(failure.error).c_str()
                                         : internal::TextOfProblem(failure.problem));
  if (observer_ != nullptr) observer_->Problem(failure.problem, path);
  return false;
}

std::unique_ptr<ZipOutput> ZipWriter::Open(ZIP_APPEND_STATUS status) {
  auto archive = std::make_unique<ZipOutput>(path_);
  if (!archive->UsesZip64()) {
    Tracer()(dp::TraceType::Info,
             "ZipWriter: %s will have maximum size of 4GB because LUMORA_DISABLE_64BIT_ZIP environment "
             "variable is set",
             path_.c_str());
  }
  if (archive->Open(status)) return archive;
  Tracer()(dp::TraceType::Error, "ZipWriter: Failed to open zip file; %s", path_.c_str());
  if (observer_ != nullptr) observer_->Problem(ZipProblem::kCannotOpen, path_);
  return nullptr;
}

bool ZipWriter::Close(ZipOutput& archive) {
  const int code = archive.Close();
  if (code == ZIP_OK) return !archive.IsStopped();
  return Fail(archive, {ZipProblem::kCannotWriteArchive, code, kClosingArchive, archive.Error()}, path_);
}

bool ZipWriter::AddFile(const std::string& path, ZIP_APPEND_STATUS status) {
  return AddFile(path, path.substr(internal::LastNameStart(path)), status);
}

bool ZipWriter::AddFile(const std::string& path, const std::string& nameInZip, ZIP_APPEND_STATUS status) {
  return WithoutThrowing([&] {
    const auto archive = Open(status);
    if (archive == nullptr) return false;
    const bool added = WriteInFileInZip(path, nameInZip, archive.get());
    return Close(*archive) && added;
  });
}

// The directory is looked for first: without one the archive is left alone.
bool ZipWriter::AddAllFilesFromDir(const std::string& dir, ZIP_APPEND_STATUS status, bool recurse) {
  return WithoutThrowing([&] {
    if (!FileSystem::DirExists(dir.c_str())) {
      Tracer()(dp::TraceType::Error, "ZipWriter: %s is no directory", dir.c_str());
      if (observer_ != nullptr) observer_->Problem(ZipProblem::kCannotReadFile, dir);
      return false;
    }
    const auto archive = Open(status);
    if (archive == nullptr) return false;
    const bool added = AddSubDir(archive.get(), dir, {}, recurse ? kAllLevels : kThisLevel);
    return Close(*archive) && added;
  });
}

bool ZipWriter::AddDirectory(ZipOutput& archive, const std::string& nameInZip, std::int64_t modified) {
  const ZipMemberHeader header{.name = nameInZip, .modified = modified, .level = kStoredLevel};
  if (archive.IsStopped()) return false;
  if (!internal::IsMemberName(nameInZip))
    return Fail(archive, {ZipProblem::kNameNotAllowed, ZIP_PARAMERROR, kOpeningMember}, nameInZip);
  if (archive.HasName(nameInZip)) return true;  // there is nothing more to say of it
  if (!archive.HasRoomFor(header))
    return Fail(archive, {ZipProblem::kNeedsZip64, ZIP_PARAMERROR, kOpeningMember}, nameInZip);
  int code = archive.BeginMember(header);
  if (code == ZIP_OK) code = archive.EndMember();
  if (code != ZIP_OK)
    return Fail(archive, {ZipProblem::kCannotWriteArchive, code, kOpeningMember, archive.Error()}, nameInZip);
  archive.Count(true);
  if (observer_ != nullptr && !observer_->Progress(nameInZip, 0)) archive.Stop();
  return !archive.IsStopped();
}

bool ZipWriter::WriteInFileInZip(const std::string& path, void* zipHandle) {
  return WriteInFileInZip(path, path.substr(internal::LastNameStart(path)), zipHandle);
}

// The source is opened first: one that cannot be read leaves no empty member.
bool ZipWriter::WriteInFileInZip(const std::string& path, const std::string& nameInZip, void* zipHandle) {
  if (IsExcluded(path)) return true;
  ZipOutput& archive = *static_cast<ZipOutput*>(zipHandle);
  if (archive.IsStopped()) return false;
  if (!internal::IsMemberName(nameInZip) || nameInZip.ends_with('/'))
    return Fail(archive, {ZipProblem::kNameNotAllowed, ZIP_PARAMERROR, kOpeningMember}, path);
  const auto passOverItself = [&] {
    Tracer()(dp::TraceType::Info, "ZipWriter: %s is the archive itself", path.c_str());
    return archive.IsInTree() ||
           Fail(archive, {ZipProblem::kCannotReadFile, ZIP_PARAMERROR, kOpeningSource}, path);
  };
  OpenedFile source;
  os::FileStatus status;
  if (!source.OpenForReading(path)) {
    const os::SystemError error = os::LastSystemError();
    if (os::QueryStatus(path.c_str(), &status) == os::kSuccess && archive.IsOwnFile(status.identity))
      return passOverItself();  // Windows does not open what is being written
    if (archive.IsInTree() && IsLinkToDirectory(path)) {
      Tracer()(dp::TraceType::Warning, "ZipWriter: %s leads to a directory and is left out", path.c_str());
      return true;
    }
    return Fail(archive, {ZipProblem::kCannotReadFile, ZIP_ERRNO, kOpeningSource, error}, path);
  }

  const bool isKnown = os::QueryFileStatus(source.Get(), &status) == os::kSuccess;
  if (isKnown && archive.IsOwnFile(status.identity)) return passOverItself();
  const ZipMemberHeader header{
      .name = nameInZip,
      .modified = isKnown ? internal::SecondsOfFileTime(status.modified) : os::WallSeconds(),
      .size = isKnown ? status.size : 0,
      .level = LevelFor(path)};
  if (archive.HasName(nameInZip))
    return Fail(archive, {ZipProblem::kSameName, ZIP_PARAMERROR, kOpeningMember}, path);
  if (!archive.HasRoomFor(header))
    return Fail(archive, {ZipProblem::kNeedsZip64, ZIP_PARAMERROR, kOpeningMember}, path);
  if (const int code = archive.BeginMember(header); code != ZIP_OK)
    return Fail(archive, {ZipProblem::kCannotWriteArchive, code, kOpeningMember, archive.Error()}, path);
  const bool copied = CopyBytes(source, header, archive, path);
  const int code = archive.EndMember();
  if (code != ZIP_OK && copied)
    return Fail(archive, {ZipProblem::kCannotWriteArchive, code, kClosingMember, archive.Error()}, path);
  if (copied) archive.Count(true);
  return copied;
}

bool ZipWriter::CopyBytes(OpenedFile& source, const ZipMemberHeader& header, ZipOutput& archive,
                          const std::string& path) {
  std::array<char, kChunk> chunk;
  std::uint64_t total = 0;
  for (std::size_t count = kChunk; count == kChunk;) {
    if (const os::SystemError error = source.Read(chunk.data(), chunk.size(), &count))
      return Fail(archive, {ZipProblem::kCannotReadFile, ZIP_ERRNO, kWriting, error}, path);
    total += count;
    if (!archive.UsesZip64() && total > kLargestShort)  // it grew
      return Fail(archive, {ZipProblem::kNeedsZip64, ZIP_PARAMERROR, kWriting}, path);
    const int code = count != 0 ? archive.Write(chunk.data(), count) : ZIP_OK;
    if (code != ZIP_OK)
      return Fail(archive, {ZipProblem::kCannotWriteArchive, code, kWriting, archive.Error()}, path);
    if (observer_ != nullptr && !observer_->Progress(header.name, count)) {
      archive.Stop();
      return false;
    }
  }
  return true;
}

ZipWriter::FileAdder::FileAdder(ZipWriter& writer, ZIP_APPEND_STATUS status)
    : writer_(writer), openStatus_(WithoutThrowing([&] {
        archive_ = writer.Open(status);
        return archive_ != nullptr;
      })) {}

ZipWriter::FileAdder::~FileAdder() {
  Close();
}

bool ZipWriter::FileAdder::AddFile(const std::string& path, const std::string& nameInZip) {
  return archive_ != nullptr &&
         WithoutThrowing([&] { return writer_.WriteInFileInZip(path, nameInZip, archive_.get()); });
}

bool ZipWriter::FileAdder::AddAllFilesFromDir(const std::string& dir, const std::string& prefixInZip,
                                              bool recurse) {
  return archive_ != nullptr && WithoutThrowing([&] {
           return writer_.AddSubDir(archive_.get(), dir, prefixInZip, recurse ? kAllLevels : kThisLevel);
         });
}

bool ZipWriter::FileAdder::Close() {
  const auto archive = std::exchange(archive_, nullptr);
  return archive != nullptr && WithoutThrowing([&] { return writer_.Close(*archive); });
}

void ZipWriter::FileAdder::Abandon() noexcept {
  archive_.reset();
}

}  // namespace du
