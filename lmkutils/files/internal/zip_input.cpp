#include "lmkutils/files/internal/zip_input.h"

#include <array>
#include <cstring>
#include <utility>

#include "lmkutils/files/internal/zip_name.h"
#include "lmkutils/files/internal/zip_time.h"

namespace du::internal {
namespace {

constexpr unsigned long kIsEncrypted = 0x0001;  // bits of a header's flags
constexpr unsigned long kNameIsUtf8 = 0x0800;
constexpr unsigned kStored = 0;
constexpr std::uint64_t kDirectoryHeader = 46;  // without its texts

constexpr std::uint16_t kExtendedTime = 0x5455;  // an extra field: a byte of flags, then times
constexpr std::uint8_t kHasModified = 1;

// The upper bytes of "version made by" and of the attributes when the member was packed on Unix.
constexpr unsigned long kMadeOnUnix = 3;
constexpr unsigned long kMadeOnMac = 19;
constexpr unsigned long kKindOfFile = 0170000;
constexpr unsigned long kSymbolicLink = 0120000;

// Seconds since 1970, to the second where the archive has them so.
std::int64_t TimeOf(const unz_file_info64& info, std::string_view extra) noexcept {
  std::string_view field;
  if (FindExtraField(extra, kExtendedTime, &field) && field.size() >= 5 && (field[0] & kHasModified) != 0) {
    std::uint32_t seconds = 0;
    for (std::size_t i = 4; i > 0; --i) seconds = seconds << 8 | static_cast<unsigned char>(field[i]);
    return static_cast<std::int32_t>(seconds);
  }
  return SecondsOfDosTime(static_cast<std::uint32_t>(info.dosDate));
}

ZipNameEncoding EncodingOf(const unz_file_info64& info) noexcept {
  if ((info.flag & kNameIsUtf8) != 0) return ZipNameEncoding::kUtf8;
  const unsigned long host = info.version >> 8;
  return host == kMadeOnUnix || host == kMadeOnMac ? ZipNameEncoding::kUnknown : ZipNameEncoding::kOem;
}

bool IsLink(const unz_file_info64& info) noexcept {
  return info.version >> 8 == kMadeOnUnix && (info.external_fa >> 16 & kKindOfFile) == kSymbolicLink;
}

}  // namespace

ZipInput::~ZipInput() {
  if (zip_ != nullptr) unzClose(zip_);
}

// minizip finds no end record at the very beginning of a file.
bool ZipInput::IsEmptyArchive() noexcept {
  constexpr std::size_t kEndRecord = 22;
  constexpr std::size_t kFixed = kEndRecord - 2;  // without the length of a comment
  constexpr char kEmpty[kFixed + 1] = "PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0";
  std::array<char, kFixed> start{};
  return stream_.Seek(0, ZLIB_FILEFUNC_SEEK_SET) && stream_.Read(start.data(), kFixed) == kFixed &&
         std::memcmp(start.data(), kEmpty, kFixed) == 0 && stream_.OriginalSize() >= kEndRecord;
}

bool ZipInput::Open(const std::string& path) {
  if (!stream_.OpenForReading(path)) return false;
  zlib_filefunc64_def functions = stream_.Functions();
  zip_ = unzOpen2_64(&stream_, &functions);
  return zip_ != nullptr || IsEmptyArchive();
}

bool ZipInput::ReadEntry(ZipEntry* entry) {
  unz_file_info64 info;
  if (unzGetCurrentFileInfo64(zip_, &info, name_.data(), static_cast<uLong>(name_.size()), extra_.data(),
                              static_cast<uLong>(extra_.size()), nullptr, 0) != UNZ_OK)
    return false;
  const auto name = std::string_view(name_).substr(0, info.size_filename);
  const auto extra = std::string_view(extra_).substr(0, info.size_file_extra);
  ZipMember& member = entry->member;
  member.name = DecodeMemberName(name, EncodingOf(info), extra);
  member.size = info.uncompressed_size;
  member.packedSize = info.compressed_size;
  member.crc = static_cast<std::uint32_t>(info.crc);
  member.modified = TimeOf(info, extra);
  member.method = static_cast<std::uint16_t>(info.compression_method);
  member.isEncrypted = (info.flag & kIsEncrypted) != 0;
  member.isDirectory = member.name.ends_with('/');
  if (member.name != name) entry->rawName = name;
  entry->isLink = IsLink(info);
  directorySize_ += kDirectoryHeader + info.size_filename + info.size_file_extra + info.size_file_comment;
  return unzGetFilePos64(zip_, &entry->place) == UNZ_OK;
}

bool ZipInput::ReadDirectory(std::vector<ZipEntry>* entries) {
  entries->clear();
  directorySize_ = 0;
  unz_global_info64 global{};
  if (zip_ == nullptr) return true;
  if (unzGetGlobalInfo64(zip_, &global) != UNZ_OK) return false;
  name_.resize(kLongestMemberName + 1);
  extra_.resize(kLongestMemberName + 1);
  // Counted here: minizip does not trust a count of 65,535.
  for (ZPOS64_T i = 0; i < global.number_entry; ++i) {
    if ((i == 0 ? unzGoToFirstFile(zip_) : unzGoToNextFile(zip_)) != UNZ_OK) return false;
    if (!ReadEntry(&entries->emplace_back())) return false;
  }
  return !stream_.HasFailed();
}

std::optional<ZipProblem> ZipInput::JudgeEntry(const ZipEntry& entry) noexcept {
  const ZipMember& member = entry.member;
  if (member.isEncrypted) return ZipProblem::kEncrypted;
  if (member.method != kStored && member.method != Z_DEFLATED) return ZipProblem::kUnknownMethod;
  if (entry.isLink) return ZipProblem::kLink;
  return std::nullopt;
}

// The header's name ends where its extra fields begin, which end where the data begin.
bool ZipInput::HasSameName(const ZipEntry& entry, std::uint64_t dataStart) noexcept {
  const std::string& name = entry.rawName.empty() ? entry.member.name : entry.rawName;
  const int extra = unzGetLocalExtrafield(zip_, nullptr, 0);
  const std::uint64_t after = static_cast<std::uint64_t>(extra) + name.size();
  return extra >= 0 && name.size() <= name_.size() && dataStart >= after &&
         stream_.Seek(static_cast<std::int64_t>(dataStart - after), ZLIB_FILEFUNC_SEEK_SET) &&
         stream_.Read(name_.data(), name.size()) == name.size() &&
         std::memcmp(name_.data(), name.data(), name.size()) == 0;
}

// Opened raw, which sets up nothing to unpack with. minizip compares the rest of the two headers.
bool ZipInput::LocateData(const ZipEntry& entry, ZipExtent* extent) {
  if (unzGoToFilePos64(zip_, &entry.place) != UNZ_OK ||
      unzOpenCurrentFile2(zip_, nullptr, nullptr, 1) != UNZ_OK)
    return false;
  extent->begin = unzGetCurrentFileZStreamPos64(zip_);
  extent->end = extent->begin + entry.member.packedSize;
  const bool isSame = HasSameName(entry, extent->begin) &&
                      (entry.member.method != kStored || entry.member.size == entry.member.packedSize);
  unzCloseCurrentFile(zip_);
  return isSame && extent->end >= extent->begin && extent->end <= stream_.OriginalSize();
}

bool ZipInput::BeginMember(const ZipEntry& entry) noexcept {
  expected_ = entry.member.size;
  taken_ = 0;
  return unzGoToFilePos64(zip_, &entry.place) == UNZ_OK && unzOpenCurrentFile(zip_) == UNZ_OK;
}

std::ptrdiff_t ZipInput::Read(void* target, std::size_t size) noexcept {
  std::size_t done = 0;
  while (done < size) {
    const int count =
        unzReadCurrentFile(zip_, static_cast<char*>(target) + done, static_cast<unsigned>(size - done));
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  taken_ += done;
  return static_cast<std::ptrdiff_t>(done);
}

bool ZipInput::EndMember() noexcept {
  return unzCloseCurrentFile(zip_) == UNZ_OK && taken_ == expected_;
}

}  // namespace du::internal
