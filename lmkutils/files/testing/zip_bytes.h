// Zip archives made byte by byte for tests, right or wrong (PKWARE's APPNOTE.TXT, section 4.3).
#ifndef LMKUTILS_FILES_TESTING_ZIP_BYTES_H
#define LMKUTILS_FILES_TESTING_ZIP_BYTES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <zlib.h>

namespace lmktest {

// The value's lowest bytes, the least significant first.
inline std::string Bytes(std::uint64_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

inline std::uint64_t NumberAt(const std::string& bytes, std::size_t offset, int count) {
  std::uint64_t value = 0;
  for (int i = count; i-- > 0;)
    value = value << 8 | static_cast<unsigned char>(bytes.at(offset + static_cast<std::size_t>(i)));
  return value;
}

inline std::uint32_t Crc(const std::string& bytes) {
  return static_cast<std::uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

// Deflate data without a header.
inline std::string Deflated(std::string plain) {
  z_stream stream{};
  std::string packed(plain.size() + 1000, '\0');
  deflateInit2(&stream, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(plain.data());
  stream.avail_in = static_cast<uInt>(plain.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

// A member, and what its headers say where that is not the truth.
struct ZipPart {
  std::string name;
  std::string plain;
  bool deflated = false;
  unsigned flags = 0x0800;
  std::uint32_t dosTime = 0x5A216000;  // 2025-01-01 12:00:00
  std::string extra = {};
  unsigned madeBy = 20;
  std::uint32_t attributes = 0;
  std::optional<unsigned> method = {};
  std::optional<std::uint32_t> crc = {};
  std::optional<std::uint32_t> size = {};
  std::optional<std::uint32_t> packedSize = {};
  std::optional<std::string> localName = {};
  std::optional<std::uint32_t> localCrc = {};
  std::optional<std::uint32_t> localSize = {};
  std::optional<std::size_t> offset = {};  // of the local header, as the table of contents has it
};

struct ZipParts {
  std::vector<ZipPart> parts;
  std::string before = {};
  std::string comment = {};
  std::string between = {};  // before the table of contents
  std::optional<unsigned> count = {};
  std::optional<std::uint32_t> directorySize = {};
  std::optional<std::uint32_t> directoryOffset = {};
};

inline std::string MakeZipOf(const ZipParts& zip) {
  std::string archive = zip.before;
  std::string directory;
  for (const ZipPart& part : zip.parts) {
    const std::string packed = part.deflated ? Deflated(part.plain) : part.plain;
    const std::string localName = part.localName.value_or(part.name);
    const std::uint32_t crc = part.crc.value_or(Crc(part.plain));
    const auto size = part.size.value_or(static_cast<std::uint32_t>(part.plain.size()));
    const auto packedSize = part.packedSize.value_or(static_cast<std::uint32_t>(packed.size()));
    const std::string common = Bytes(20, 2) + Bytes(part.flags, 2) +
                               Bytes(part.method.value_or(part.deflated ? 8 : 0), 2) + Bytes(part.dosTime, 4);
    directory += "PK\1\2" + Bytes(part.madeBy, 2) + common + Bytes(crc, 4) + Bytes(packedSize, 4) +
                 Bytes(size, 4) + Bytes(part.name.size(), 2) + Bytes(part.extra.size(), 2) + Bytes(0, 6) +
                 Bytes(part.attributes, 4) +
                 Bytes(part.offset.value_or(archive.size() - zip.before.size()), 4) + part.name + part.extra;
    archive += "PK\3\4" + common + Bytes(part.localCrc.value_or(crc), 4) + Bytes(packedSize, 4) +
               Bytes(part.localSize.value_or(size), 4) + Bytes(localName.size(), 2) + Bytes(0, 2) +
               localName + packed;
  }
  archive += zip.between;
  const std::size_t offset = archive.size() - zip.before.size();
  const std::string count = Bytes(zip.count.value_or(static_cast<unsigned>(zip.parts.size())), 2);
  return archive + directory + "PK\5\6" + Bytes(0, 4) + count + count +
         Bytes(zip.directorySize.value_or(static_cast<std::uint32_t>(directory.size())), 4) +
         Bytes(zip.directoryOffset.value_or(static_cast<std::uint32_t>(offset)), 4) +
         Bytes(zip.comment.size(), 2) + zip.comment;
}

inline std::string MakeZip(std::vector<ZipPart> parts) {
  return MakeZipOf(ZipParts{.parts = std::move(parts)});
}

}  // namespace lmktest

#endif
