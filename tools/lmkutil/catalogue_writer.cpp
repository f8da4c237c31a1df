#include <algorithm>
#include <cstdint>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/catalogue_format.h"
#include "tools/lmkutil/replacement.h"
#include <zlib.h>

#include "lmkutils/files/file_writer.h"
#include "lmkutils/files/output_buffer.h"
#include "lmkutils/platform/command_line.h"
#include "lmkutils/text/hash_map.h"

namespace lmkutil {
namespace {

using catalogue::BlockKind;
using Attributes = du::Dbase::IdValueList;

constexpr std::size_t kRecordsInBlock = 4096;
constexpr unsigned kInitialSize = 1U << 16;

// Encodes records block by block into a compressed section that is open.
class Encoder {
 public:
  explicit Encoder(du::FileWriter& file) : file_(file) {}

  // Attributes in the order of their names. False on a full disk, and for want of memory.
  bool AddRecords(const Attributes& attributes) {
    texts_.Reset();
    columns_.Reset();
    const unsigned textsBefore = textCount_;
    unsigned columnCount = 0;
    for (auto first = attributes.begin(); first != attributes.end(); ++columnCount) {
      const auto isOther = [&](const du::Dbase::IdValue& next) { return next.name != first->name; };
      const auto end = std::find_if(first, attributes.end(), isOther);
      AddColumn(first, end);
      first = end;
    }
    attributeCount_ += attributes.size();
    body_.Reset();
    Put(body_, textCount_ - textsBefore);
    Append(texts_);
    Put(body_, columnCount);
    Append(columns_);
    return isGood_ && WriteBlock(catalogue::kRecords);
  }

  bool Finish() {
    body_.Reset();
    Put(body_, textCount_);
    Put(body_, attributeCount_);
    return isGood_ && WriteBlock(catalogue::kEnd);
  }

 private:
  void AddColumn(Attributes::const_iterator first, Attributes::const_iterator end) {
    Put(columns_, NumberOf(first->name));
    Put(columns_, static_cast<unsigned>(end - first));
    PutSteps(first, end, [](const du::Dbase::IdValue& entry) { return entry.id; });
    PutSteps(first, end, [this](const du::Dbase::IdValue& entry) { return NumberOf(entry.value); });
  }

  // Most numbers are one more than the one before: as differences they take the compression no time.
  template <class Number>
  void PutSteps(Attributes::const_iterator first, Attributes::const_iterator end, Number number) {
    unsigned before = 0;
    for (auto at = first; at != end; ++at) {
      const unsigned now = number(*at);
      Put(columns_, now - before);
      before = now;
    }
  }

  // Texts are numbered in the order of their first use; the empty one is 0.
  unsigned NumberOf(const du::Symbol& text) {
    if (text.empty()) return 0;
    const auto [place, isNew] = numbers_.insert({text, textCount_ + 1});
    if (isNew) {
      ++textCount_;
      Put(texts_, text);
    }
    return place->second;
  }

  template <class T>
  void Put(du::OutputBuffer& buffer, const T& value) {
    isGood_ = isGood_ && buffer.Put(value);
  }
  void Append(const du::OutputBuffer& part) { isGood_ = isGood_ && body_.Put(part.Get(), part.GetSize()); }

  bool WriteBlock(BlockKind kind) {
    const unsigned size = body_.GetSize();
    const auto checksum = static_cast<int>(crc32(0, body_.Get(), size));
    const auto* const bytes = reinterpret_cast<const char*>(body_.Get());
    return file_.Write(static_cast<int>(kind)) && file_.Write(static_cast<int>(size)) &&
           file_.Write(checksum) && file_.Write(bytes, size) == size;
  }

  du::FileWriter& file_;
  du::HashMap<du::Symbol, unsigned> numbers_;
  unsigned textCount_ = 0;
  std::uint64_t attributeCount_ = 0;
  bool isGood_ = true;  // there was memory for everything
  du::OutputBuffer texts_{catalogue::kEndian, kInitialSize};
  du::OutputBuffer columns_{catalogue::kEndian, kInitialSize};
  du::OutputBuffer body_{catalogue::kEndian, kInitialSize};
};

Saving WriteRecords(du::FileWriter& file, const du::Dbase& records) {
  Encoder encoder(file);
  const du::Dbase::IdList all = records.PerformQuery("NOT <>");
  for (std::size_t first = 0; first < all.size(); first += kRecordsInBlock) {
    if (dp::CommandLine::IsInterrupted()) return Saving::kInterrupted;
    const auto begin = all.begin() + static_cast<std::ptrdiff_t>(first);
    const auto count = std::min(kRecordsInBlock, all.size() - first);
    const du::Dbase::IdList block(begin, begin + static_cast<std::ptrdiff_t>(count));
    if (!encoder.AddRecords(records.GetAttributes(block))) return Saving::kFailed;
  }
  return encoder.Finish() ? Saving::kDone : Saving::kFailed;
}

Saving WriteFile(const std::string& path, const du::Dbase& records) {
  const auto file = du::FileWriter::Construct();
  if (!file->Open(path, catalogue::kEndian)) return Saving::kFailed;
  const auto magicSize = static_cast<unsigned>(catalogue::kMagic.size());
  file->Write(catalogue::kMagic.data(), magicSize);
  file->Write(catalogue::kVersion);
  if (!file->StartCompressedSection()) return Saving::kFailed;
  const Saving saving = WriteRecords(*file, records);
  if (saving != Saving::kDone) return saving;
  return file->EndCompressedSection() && file->Close() ? Saving::kDone : Saving::kFailed;
}

}  // namespace

Saving SaveCatalogue(const std::string& path, const du::Dbase& records) {
  Replacement catalogue(path);
  if (!catalogue.IsPossible()) return Saving::kFailed;
  const Saving saving = WriteFile(catalogue.File(), records);
  if (saving != Saving::kDone) return saving;
  if (dp::CommandLine::IsInterrupted()) return Saving::kInterrupted;
  return catalogue.Finish() ? Saving::kDone : Saving::kFailed;
}

}  // namespace lmkutil
