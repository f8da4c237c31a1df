#include "tools/lmkutil/section_scan.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include <zlib.h>

namespace lmkutil {
namespace {

constexpr std::size_t kHeaderSize = 10;
constexpr std::int64_t kTrailerSize = 8;
constexpr std::size_t kPartSize = 65536;

// The fixed part of a member's header (RFC 1952): magic, deflate, no reserved flags. With `strict` also extra
// flags and a system that the format knows, so that hardly any data looks like one by chance.
bool IsHeader(const unsigned char* bytes, bool strict) {
  if (bytes[0] != 0x1F || bytes[1] != 0x8B || bytes[2] != 8 || (bytes[3] & 0xE0) != 0) return false;
  const bool isKnown =
      (bytes[8] == 0 || bytes[8] == 2 || bytes[8] == 4) && (bytes[9] <= 13 || bytes[9] == 255);
  return isKnown || !strict;
}

}  // namespace

bool SectionScan::Open(const std::string& path) {
  std::error_code error;
  const std::filesystem::path file(std::u8string(path.begin(), path.end()));
  size_ = static_cast<std::int64_t>(std::filesystem::file_size(file, error));
  return !error && reader_.Open(path);
}

bool SectionScan::Next(Section* section) {
  for (;;) {
    const std::int64_t start = FindHeader(next_);
    if (start < 0) return false;
    const bool isExpected = isExpected_ && start == next_;
    isExpected_ = false;
    next_ = start + 1;
    if (!Examine(start, isExpected, section)) continue;
    if (section->state == Section::State::kWhole) {
      next_ = start + section->packed;
      isExpected_ = true;
    }
    return true;
  }
}

// The place of the next header, or -1.
std::int64_t SectionScan::FindHeader(std::int64_t from) {
  std::vector<unsigned char> part(kPartSize);
  while (reader_.SetPosition(from)) {
    const std::size_t count = reader_.Read(part.data(), kPartSize);
    TellWatcher();
    for (std::size_t at = 0; at + kHeaderSize <= count; ++at) {
      at = static_cast<std::size_t>(std::find(&part[at], part.data() + count, 0x1F) - part.data());
      if (at + kHeaderSize > count) break;
      const std::int64_t place = from + static_cast<std::int64_t>(at);
      if (IsHeader(&part[at], !isExpected_ || place != next_)) return place;
    }
    isReadable_ = count == kPartSize || reader_.IsEOF();
    if (count < kPartSize) break;
    from += static_cast<std::int64_t>(kPartSize - kHeaderSize + 1);
  }
  return -1;
}

bool SectionScan::Examine(std::int64_t start, bool isExpected, Section* section) {
  *section = Section();
  section->start = start;
  uLong checksum = crc32(0, nullptr, 0);
  // What the scan takes for a header can only be refused when the file ends in it.
  if (!Start(*section)) {
    section->state = Section::State::kCut;
    return isExpected;
  }
  const bool isWhole = UnpackStarted([&](std::string_view bytes) {
    section->plain += bytes.size();
    checksum = crc32(checksum, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
    return true;
  });
  section->checksum = static_cast<std::uint32_t>(checksum);
  if (isWhole) {
    section->packed = reader_.GetPosition() - start;
    ReadTrailer(section);
    return true;
  }
  section->state = reader_.IsEOF() ? Section::State::kCut : Section::State::kDamaged;
  return isExpected || section->plain != 0;
}

void SectionScan::ReadTrailer(Section* section) {
  reader_.SetPosition(section->start + section->packed - kTrailerSize);
  reader_.Read(section->trailerChecksum);
  reader_.Read(section->trailerLength);
}

void SectionScan::TellWatcher() const {
  if (watcher_) watcher_(reader_.GetFilePos());
}

bool SectionScan::Unpack(const Section& section, const PlainBytes& take) {
  return Start(section) && UnpackStarted(take);
}

bool SectionScan::Start(const Section& section) {
  return reader_.SetPosition(section.start) && reader_.StartCompressedSection();
}

bool SectionScan::UnpackStarted(const PlainBytes& take) {
  std::vector<char> part(kPartSize);
  bool goesOn = true;
  while (goesOn) {
    const unsigned count = reader_.Read(part.data(), kPartSize);
    TellWatcher();
    goesOn = take(std::string_view(part.data(), count)) && count == kPartSize;
  }
  return reader_.EndCompressedSection(true);
}

bool SectionScan::Read(std::int64_t start, std::int64_t end, const PlainBytes& take) {
  if (!reader_.SetPosition(start)) return false;
  std::vector<char> part(kPartSize);
  for (std::int64_t left = end - start; left > 0;) {
    const auto wanted = static_cast<unsigned>(std::min<std::int64_t>(left, kPartSize));
    const unsigned count = reader_.Read(part.data(), wanted);
    TellWatcher();
    if (count == 0 || !take(std::string_view(part.data(), count))) return false;
    left -= count;
  }
  return true;
}

}  // namespace lmkutil
