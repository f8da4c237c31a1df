#include "lmkutils/files/internal/zip_output.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/temporary_file.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/files/internal/zip_input.h"
#include "lmkutils/files/internal/zip_time.h"
#include "lmkutils/os/name_case.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du::internal {
namespace {

// Numbers of these sizes, and greater ones, stand in the records of Zip64.
constexpr std::uint64_t kZip64Size = 0xFFFFFFFF;
constexpr std::uint64_t kZip64Members = 0xFFFF;

// The fixed parts of the headers of a member, and of the end of an archive (APPNOTE.TXT, section 4.3).
constexpr std::uint64_t kLocalHeader = 30;
constexpr std::uint64_t kDirectoryHeader = 46;
constexpr std::uint64_t kEndRecord = 22;

constexpr unsigned long kNameIsUtf8 = 0x0800;
constexpr unsigned long kDirectoryAttribute = 0x10;  // of MS-DOS

// What deflate makes of bytes that it cannot pack, at most.
constexpr std::uint64_t PackedAtMost(std::uint64_t size) noexcept {
  return size + size / 1000 + 64;
}

}  // namespace

ZipOutput::ZipOutput(const std::string& path)
    : path_(path), usesZip64_(!dp::Environment::Test("LUMORA_DISABLE_64BIT_ZIP")) {}

os::SystemError ZipOutput::Error() const noexcept {
  return error_ != os::kSuccess ? error_ : stream_.Error();
}

bool ZipOutput::Open(int append) {
  if (append < APPEND_STATUS_CREATE || append > APPEND_STATUS_ADDINZIP) {
    error_ = os::kErrorInvalidParameter;
    return false;
  }
  const bool opened = append == APPEND_STATUS_CREATE ? OpenNew() : OpenOld(append == APPEND_STATUS_ADDINZIP);
  if (!opened) return false;
  os::FileStatus status;
  if (os::QueryFileStatus(stream_.GetFile(), &status) == os::kSuccess) identity_ = status.identity;
  zlib_filefunc64_def functions = stream_.Functions();
  zip_ = zipOpen2_64(&stream_, append, nullptr, &functions);
  // It takes an archive that cannot be read for an empty one.
  return zip_ != nullptr && !stream_.HasFailed() && (append != APPEND_STATUS_ADDINZIP || HasDirectoryHere());
}

// minizip stands where the table of contents begins, and it will write. If the end record follows elsewhere,
// it counts other members than there are, and would count those wrong that are added.
bool ZipOutput::HasDirectoryHere() noexcept {
  constexpr std::string_view kEnds[] = {"PK\5\6", "PK\6\6"};
  const auto start = static_cast<std::int64_t>(stream_.Position());
  const auto size = static_cast<std::int64_t>(directorySize_);
  char after[4] = {};
  return stream_.Seek(start + size, ZLIB_FILEFUNC_SEEK_SET) &&
         stream_.Read(after, sizeof after) == sizeof after &&
         std::find(std::begin(kEnds), std::end(kEnds), std::string_view(after, sizeof after)) !=
             std::end(kEnds) &&
         stream_.Seek(start, ZLIB_FILEFUNC_SEEK_SET);
}

// Only a regular file is replaced: the name may be a device's.
bool ZipOutput::OpenNew() {
  os::FileStatus old;
  const auto query = [&old](const char* form) { return os::QueryStatus(form, &old); };
  if (!IsUsablePath(path_)) {
    error_ = os::LastSystemError();
    return false;
  }
  replaces_ = TryPath(path_, true, query) == os::kSuccess;
  if (replaces_ && old.kind != os::EntryKind::kFile) {
    error_ = os::kErrorAccessDenied;
    return false;
  }
  oldIdentity_ = old.identity;
  oldMode_ = old.mode;
  os::File file = os::File::kNone;
  std::string name;
  error_ = folder_.Open(FolderOf(path_), os::Links::kFollow);
  if (error_ == os::kSuccess)
    error_ = CreateTemporary(folder_.Get(), "zip-", os::TreeCreateFile, &file, &name);
  if (error_ != os::kSuccess) return false;
  stream_.Take(file);
  temporary_ = std::move(name);
  return true;
}

// An archive that is added to must be one: minizip takes other files for empty archives.
bool ZipOutput::OpenOld(bool keepsMembers) {
  if (keepsMembers) {
    ZipInput input;
    std::vector<ZipEntry> entries;
    if (!input.Open(path_) || !input.ReadDirectory(&entries)) {
      error_ = input.Error();
      return false;
    }
    for (ZipEntry& entry : entries) names_.insert(os::FoldName(std::move(entry.member.name)));
    members_ = entries.size();
    directorySize_ = input.DirectorySize();
  }
  return stream_.OpenForChanging(path_);
}

bool ZipOutput::IsOwnFile(const os::FileIdentity& file) const noexcept {
  return file == identity_ || (replaces_ && file == oldIdentity_);
}

bool ZipOutput::HasName(const std::string& name) const {
  return names_.contains(os::FoldName(name));
}

bool ZipOutput::HasRoomFor(const ZipMemberHeader& header) const noexcept {
  if (usesZip64_) return true;
  const std::uint64_t directory = directorySize_ + kDirectoryHeader + header.name.size() + kEndRecord;
  return header.size < kZip64Size && members_ + 1 < kZip64Members &&
         stream_.Position() + kLocalHeader + header.name.size() + PackedAtMost(header.size) + directory <
             kZip64Size;
}

int ZipOutput::BeginMember(const ZipMemberHeader& header) {
  names_.insert(os::FoldName(header.name));
  const bool isDirectory = header.name.ends_with('/');
  zip_fileinfo info{};
  info.dosDate = DosTime(header.modified);
  if (isDirectory) info.external_fa = kDirectoryAttribute;
  const int result = zipOpenNewFileInZip4_64(zip_, header.name.c_str(), &info, nullptr, 0, nullptr, 0,
                                             nullptr, isDirectory ? 0 : Z_DEFLATED, header.level, 0,
                                             -MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY, nullptr, 0, 0,
                                             kNameIsUtf8, usesZip64_ && !isDirectory ? 1 : 0);
  if (result == ZIP_OK) {
    ++members_;
    directorySize_ += kDirectoryHeader + header.name.size();
  }
  return result;
}

int ZipOutput::Write(const void* bytes, std::size_t size) noexcept {
  return zipWriteInFileInZip(zip_, bytes, static_cast<unsigned>(size));
}

int ZipOutput::EndMember() noexcept {
  return zipCloseFileInZip(zip_);
}

int ZipOutput::Close() {
  const bool isEmptyHanded = failures_ != 0 && successes_ == 0;
  if (zip_ == nullptr || stopped_ || stream_.HasFailed() || isEmptyHanded) {
    Abandon();
    return stream_.HasFailed() ? ZIP_ERRNO : ZIP_OK;
  }
  int result = zipClose(std::exchange(zip_, nullptr), nullptr);
  if (result == ZIP_OK && !Complete()) result = ZIP_ERRNO;
  if (result != ZIP_OK) Abandon();
  return result;
}

// The name of a new archive is changed when nothing else can fail any more.
bool ZipOutput::Complete() {
  if (!stream_.Finish()) return false;
  if (temporary_.empty()) return stream_.Close();
  if (replaces_) os::SetFileMode(stream_.GetFile(), oldMode_);
  if (!stream_.Close()) return false;
  error_ = os::TreeReplace(folder_.Get(), temporary_, path_.substr(LastNameStart(path_)));
  if (error_ == os::kSuccess) temporary_.clear();
  return error_ == os::kSuccess;
}

void ZipOutput::Abandon() noexcept {
  stream_.Discard();
  if (zip_ != nullptr) zipClose(std::exchange(zip_, nullptr), nullptr);
  if (temporary_.empty() && !stream_.Restore()) {
    dp::LMTracer("ZipWriter", "")(dp::TraceType::Error, "ZipWriter: Cannot put %s back as it was",
                                  path_.c_str());
  }
  stream_.Close();
  if (!temporary_.empty()) os::TreeRemoveFile(folder_.Get(), temporary_);
  temporary_.clear();
}

}  // namespace du::internal
