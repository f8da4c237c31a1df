// Finds the gzip sections of a binary file.
#ifndef LMKUTIL_SECTION_SCAN_H
#define LMKUTIL_SECTION_SCAN_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "lmkutils/files/file_reader.h"

namespace lmkutil {

struct Section {
  enum class State { kWhole, kCut, kDamaged };

  State state = State::kWhole;
  std::int64_t start = 0;      // where the header begins in the file
  std::int64_t packed = 0;     // bytes in the file, header and trailer included; of whole ones only
  std::uint64_t plain = 0;     // bytes that could be unpacked
  std::uint32_t checksum = 0;  // CRC-32 of the plain bytes
  std::uint32_t trailerChecksum = 0;
  std::uint32_t trailerLength = 0;  // of the plain bytes, modulo 2^32

  bool IsChecksumRight() const { return checksum == trailerChecksum; }
  bool IsLengthRight() const { return static_cast<std::uint32_t>(plain) == trailerLength; }
  bool IsGood() const { return state == State::kWhole && IsChecksumRight() && IsLengthRight(); }
};

// What is done with the plain bytes; false ends the reading of the section.
using PlainBytes = std::function<bool(std::string_view)>;

class SectionScan {
 public:
  // Told now and then, while the file is gone through, how many bytes of it have been read.
  using Watcher = std::function<void(std::int64_t bytes)>;
  void SetWatcher(Watcher watcher) { watcher_ = std::move(watcher); }

  bool Open(const std::string& path);

  // The next section, from the beginning of the file on. A place counts as one when it has the header of a
  // gzip member and data that can be unpacked; what stands at the beginning of the file, or directly behind
  // another section, also when it cannot. False when there are no more, or the file cannot be read further.
  bool Next(Section* section);

  // Goes through the section again.
  bool Unpack(const Section& section, const PlainBytes& take);
  // Goes through plain data.
  bool Read(std::int64_t start, std::int64_t end, const PlainBytes& take);

  std::int64_t FileSize() const { return size_; }
  // No read of the file itself has failed.
  bool IsReadable() const { return isReadable_; }

 private:
  std::int64_t FindHeader(std::int64_t from);
  bool Examine(std::int64_t start, bool isExpected, Section* section);
  void TellWatcher() const;
  bool Start(const Section& section);
  bool UnpackStarted(const PlainBytes& take);
  void ReadTrailer(Section* section);

  du::FileReader reader_;
  Watcher watcher_;
  std::int64_t size_ = 0;
  std::int64_t next_ = 0;   // where to look on
  bool isExpected_ = true;  // a section may begin right there
  bool isReadable_ = true;
};

}  // namespace lmkutil

#endif
