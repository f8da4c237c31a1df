#include <algorithm>
#include <cstdint>
#include <new>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/catalogue_format.h"
#include <zlib.h>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/input_buffer.h"

namespace lmkutil {
namespace {

// Decodes the blocks of a section that is open. Every number in them is checked before it is used. Throws
// std::bad_alloc.
class Decoder {
 public:
  Decoder(du::FileReader& file, du::Dbase& records) : file_(file), records_(records) {}

  // False when any of it is not as it should be.
  bool ReadAll() {
    for (;;) {
      int kind = 0;
      if (!file_.Read(kind) || !ReadBody()) return false;
      du::InputBuffer body(body_, catalogue::kEndian);
      if (body.GetSize() != body_.size()) throw std::bad_alloc();
      if (kind == catalogue::kEnd) return CheckEnd(body);
      if (kind != catalogue::kRecords || !TakeTexts(body) || !TakeColumns(body)) return false;
    }
  }

 private:
  // A size may claim anything: memory is taken as bytes come.
  bool ReadBody() {
    constexpr unsigned kStep = 1U << 20;
    int size = 0;
    int checksum = 0;
    if (!file_.Read(size) || !file_.Read(checksum) || size < 0) return false;
    body_.clear();
    for (auto left = static_cast<unsigned>(size); left != 0;) {
      const unsigned step = std::min(left, kStep);
      body_.resize(body_.size() + step);
      if (file_.Read(body_.data() + body_.size() - step, step) != step) return false;
      left -= step;
    }
    return static_cast<int>(crc32(0, body_.data(), static_cast<uInt>(body_.size()))) == checksum;
  }

  bool TakeTexts(du::InputBuffer& body) {
    unsigned count = 0;
    if (!body.Get(count)) return false;
    for (; count != 0; --count) {
      du::Symbol text;
      if (!body.Get(text)) return false;
      texts_.push_back(std::move(text));
    }
    return true;
  }

  bool TakeColumns(du::InputBuffer& body) {
    unsigned count = 0;
    if (!body.Get(count)) return false;
    for (; count != 0; --count)
      if (!TakeColumn(body)) return false;
    return IsAtEnd(body);
  }

  bool TakeColumn(du::InputBuffer& body) {
    unsigned name = 0;
    unsigned count = 0;
    if (!body.Get(name) || !body.Get(count) || name >= texts_.size()) return false;
    if (count > (body.GetSize() - body.GetPosition()) / (2 * sizeof(unsigned))) return false;
    ids_.resize(count);
    values_.resize(count);
    if (!body.Get(ids_.data(), count) || !body.Get(values_.data(), count)) return false;
    std::partial_sum(ids_.begin(), ids_.end(), ids_.begin());
    std::partial_sum(values_.begin(), values_.end(), values_.begin());
    for (unsigned i = 0; i < count; ++i) {
      if (values_[i] >= texts_.size()) return false;
      records_.AddAttribute(ids_[i], texts_[name], texts_[values_[i]]);
    }
    attributeCount_ += count;
    return true;
  }

  bool CheckEnd(du::InputBuffer& body) {
    unsigned textCount = 0;
    std::uint64_t attributeCount = 0;
    return body.Get(textCount) && body.Get(attributeCount) && IsAtEnd(body) &&
           textCount == texts_.size() - 1 && attributeCount == attributeCount_;
  }

  static bool IsAtEnd(const du::InputBuffer& body) { return body.GetPosition() == body.GetSize(); }

  du::FileReader& file_;
  du::Dbase& records_;
  std::vector<unsigned char> body_;
  std::vector<du::Symbol> texts_{du::Symbol()};  // number 0 is the empty text
  std::vector<unsigned> ids_;
  std::vector<unsigned> values_;
  std::uint64_t attributeCount_ = 0;
};

const char* Load(const std::string& path, du::Dbase& records) {
  du::FileReader file;
  if (!file.Open(path, catalogue::kEndian)) return "FILE_UNREADABLE";
  char magic[catalogue::kMagic.size()] = {};
  int version = 0;
  if (file.Read(magic, sizeof(magic)) != sizeof(magic) ||
      std::string_view(magic, sizeof(magic)) != catalogue::kMagic || !file.Read(version)) {
    return "CATALOGUE_FOREIGN";
  }
  if (version != catalogue::kVersion) return "CATALOGUE_NEWER";
  char surplus = 0;
  const bool isGood = file.StartCompressedSection() && Decoder(file, records).ReadAll() &&
                      file.EndCompressedSection(true) && !file.Read(surplus);
  return isGood ? nullptr : "CATALOGUE_DAMAGED";
}

}  // namespace

const char* LoadCatalogue(const std::string& path, du::Dbase& records) {
  const char* fault = nullptr;
  records.RemoveAttributes();
  try {
    fault = Load(path, records);
  } catch (const std::bad_alloc&) {
    fault = "CATALOGUE_TOO_LARGE";
  }
  if (fault != nullptr) records.RemoveAttributes();
  return fault;
}

}  // namespace lmkutil
