#include "lmkutils/files/line_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "lmkutils/files/byte_order.h"
#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/internal/file_reader_access.h"
#include "lmkutils/files/internal/line_buffer.h"
#include "lmkutils/files/internal/line_scan.h"
#include "lmkutils/text/encoding.h"

namespace du {
namespace internal {

class LineReaderState {
 public:
  LineReaderState(FileReader* source, int byteLimit)
      : source_(source), limit_(byteLimit > 0 ? static_cast<unsigned>(byteLimit) : 0) {}

  bool ReadLine();
  unsigned long ReadBinary(unsigned long count);
  void SeekToLineStart();
  std::string GetString() const;
  std::string_view Shown() const noexcept { return shown_; }

 private:
  enum class TextForm { kBytes = 0, kUtf8 = 1, kUtf16Little = 2, kUtf16Big = 3 };

  static constexpr std::size_t kChunkSize = 4096;

  bool IsUtf16() const noexcept { return form_ == TextForm::kUtf16Little || form_ == TextForm::kUtf16Big; }
  bool HasUnit() const noexcept { return end_ - next_ >= (IsUtf16() ? 2 : 1); }
  std::int64_t Position() const noexcept { return chunkStart_ + (next_ - chunk_); }
  std::int64_t ChunkEnd() const noexcept { return chunkStart_ + (end_ - chunk_); }

  bool Fill();
  bool FillFirst();
  std::size_t Take(char* target, std::size_t room);
  void SkipMark();
  void BeginReading() noexcept;
  bool ShowInChunk() noexcept;
  void ShowLine() noexcept;
  bool TakeBytes();
  bool TakeUnits();

  FileReader* const source_;
  const std::uint64_t limit_;  // 0: none
  std::uint64_t taken_ = 0;
  bool atStart_ = true;  // no byte has been taken
  TextForm form_ = TextForm::kBytes;

  // The part of the file that was taken last, and what has not been read of it.
  char chunk_[kChunkSize];
  const char* next_ = chunk_;
  const char* end_ = chunk_;
  std::int64_t chunkStart_ = 0;

  LineBuffer line_;
  std::int64_t lineStart_ = 0;
  bool hasLine_ = false;

  // What callers see: line_, or a line where it lies in the chunk. There a zero stands in the place of the
  // byte behind the line, until the next line or bytes are read.
  // NOLINTNEXTLINE(bugprone-string-constructor): empty, and before a zero unit of either width
  static constexpr std::string_view kNothing{"\0", 0};
  std::string_view shown_ = kNothing;
  char* replaced_ = nullptr;
  char replacedByte_ = '\0';
};

// -- The chunk

// What the reader and the limit give, at most so many bytes.
std::size_t LineReaderState::Take(char* target, std::size_t room) {
  if (limit_ != 0) room = static_cast<std::size_t>(std::min<std::uint64_t>(room, limit_ - taken_));
  if (source_ == nullptr || room == 0) return 0;
  const std::size_t taken = FileReaderAccess::ReadAvailable(*source_, target, room);
  taken_ += taken;
  return taken;
}

// Takes the next bytes, behind half a unit if that is left. False when there are none: the chunk stays then,
// since SeekToBufferStart may want it.
bool LineReaderState::Fill() {
  const std::size_t left = next_ == end_ ? 0 : 1;
  const char half = left == 0 ? '\0' : *next_;
  const std::int64_t position = source_ == nullptr ? 0 : source_->GetPosition();
  const std::size_t taken = Take(chunk_ + left, kChunkSize - left);
  if (taken == 0) return false;
  if (left != 0) chunk_[0] = half;
  next_ = chunk_;
  end_ = chunk_ + left + taken;
  chunkStart_ = position - static_cast<std::int64_t>(left);
  atStart_ = false;
  return true;
}

// The first chunk of lines, which may begin with a mark.
bool LineReaderState::FillFirst() {
  constexpr std::ptrdiff_t kLeastWithMark = 4;
  if (!Fill()) return false;
  if (end_ - next_ >= kLeastWithMark) SkipMark();
  return true;
}

void LineReaderState::SkipMark() {
  static constexpr struct {
    std::string_view bytes;
    TextForm form;
  } kMarks[] = {{"\xEF\xBB\xBF", TextForm::kUtf8},
                {"\xFE\xFF", TextForm::kUtf16Big},
                {"\xFF\xFE", TextForm::kUtf16Little}};
  const std::string_view start(next_, static_cast<std::size_t>(end_ - next_));
  for (const auto& mark : kMarks) {
    if (!start.starts_with(mark.bytes)) continue;
    form_ = mark.form;
    next_ += mark.bytes.size();
    return;
  }
}

// -- Lines

inline void LineReaderState::BeginReading() noexcept {
  shown_ = kNothing;  // in case that memory is exhausted
  if (replaced_ != nullptr) *replaced_ = replacedByte_;
  replaced_ = nullptr;
}

// Most lines of bytes end in the chunk where they begin: these are not copied. False for others.
inline bool LineReaderState::ShowInChunk() noexcept {
  const char* const stop = FindLineFeed(next_, end_);
  if (stop == end_) return false;
  const char* const last = stop != next_ && stop[-1] == '\r' ? stop - 1 : stop;
  shown_ = std::string_view(next_, static_cast<std::size_t>(last - next_));
  replaced_ = chunk_ + (last - chunk_);
  replacedByte_ = *last;
  *replaced_ = '\0';
  next_ = stop + 1;
  return true;
}

void LineReaderState::ShowLine() noexcept {
  line_.Terminate();
  shown_ = std::string_view(line_.Data(), line_.Size());
}

// These two move what the chunk has of the line into line_, without LF and the CR before that; true when the
// line ended.

bool LineReaderState::TakeBytes() {
  const char* const stop = FindLineFeed(next_, end_);
  line_.Append(next_, static_cast<std::size_t>(stop - next_));
  next_ = stop;
  if (stop == end_) return false;
  next_ += 1;
  // Looked for in the line: it may have come with the chunk before.
  line_.DropLast('\r');
  return true;
}

bool LineReaderState::TakeUnits() {
  const bool swapped = form_ == TextForm::kUtf16Big;
  const char* const end = end_ - (end_ - next_) % 2;
  const char* const stop = FindLineFeed16(next_, end, swapped ? 0x0A00 : 0x000A);
  const auto size = static_cast<std::size_t>(stop - next_);
  if (swapped) {
    CopyByteSwapped<std::uint16_t>(line_.Room(size), next_, size / 2);
    line_.Add(size);
  } else {
    line_.Append(next_, size);
  }
  next_ = stop;
  if (stop == end) return false;
  next_ += 2;
  line_.DropLast(u'\r');
  return true;
}

bool LineReaderState::ReadLine() {
  BeginReading();
  line_.Shrink();
  bool more = HasUnit() || (atStart_ ? FillFirst() : Fill());
  lineStart_ = Position();  // known only now: a mark is not part of the line
  hasLine_ = true;
  if (!IsUtf16() && ShowInChunk()) return true;
  bool ended = false;
  while (more && !ended) {
    ended = IsUtf16() ? TakeUnits() : TakeBytes();
    more = HasUnit() || (!ended && Fill());
  }
  ShowLine();
  return ended || line_.Size() != 0;
}

std::string LineReaderState::GetString() const {
  if (!IsUtf16()) return std::string(shown_);
  return ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(shown_.data()), shown_.size() / 2));
}

// -- Raw bytes

unsigned long LineReaderState::ReadBinary(unsigned long count) {
  BeginReading();
  line_.Clear();
  while (line_.Size() < count && (next_ != end_ || Fill())) {
    const std::size_t size =
        std::min<std::size_t>(count - line_.Size(), static_cast<std::size_t>(end_ - next_));
    line_.Append(next_, size);
    next_ += size;
  }
  ShowLine();
  return static_cast<unsigned long>(line_.Size());
}

void LineReaderState::SeekToLineStart() {
  if (!hasLine_ || source_ == nullptr) return;
  // A line that is shown in the chunk is found there: what callers see stays.
  if (lineStart_ < chunkStart_ || lineStart_ > ChunkEnd()) {
    const std::int64_t again = ChunkEnd() - lineStart_;
    if (source_->IsCompressed() || !source_->SetPosition(lineStart_)) return;
    taken_ -= static_cast<std::uint64_t>(again);
    next_ = end_ = chunk_;
    chunkStart_ = lineStart_;
    Fill();
  }
  next_ = chunk_ + (lineStart_ - chunkStart_);
}

}  // namespace internal

LineReader::LineReader(FileReader* reader, int byteLimit)
    : state_(std::make_unique<internal::LineReaderState>(reader, byteLimit)) {}

LineReader::~LineReader() = default;

bool LineReader::ReadLine() {
  return state_->ReadLine();
}

const char* LineReader::GetBuffer() const noexcept {
  return state_->Shown().data();
}

const unsigned char* LineReader::GetBinBuffer() const noexcept {
  return reinterpret_cast<const unsigned char*>(state_->Shown().data());
}

std::size_t LineReader::GetSize() const noexcept {
  return state_->Shown().size();
}

std::string LineReader::GetString() const {
  return state_->GetString();
}

unsigned long LineReader::ReadBinary(unsigned long count) {
  return state_->ReadBinary(count);
}

bool LineReader::SeekToBufferStart() {
  state_->SeekToLineStart();
  return false;
}

}  // namespace du
