#include "lmkutils/l10n/lmtrb.h"

#include <array>
#include <cassert>
#include <cstring>
#include <memory>
#include <new>
#include <ostream>
#include <string_view>
#include <utility>

#include "lmkutils/l10n/internal/arena.h"
#include "lmkutils/l10n/internal/entry.h"
#include "lmkutils/l10n/internal/entry_reader.h"
#include "lmkutils/l10n/internal/message_text.h"
#include "lmkutils/l10n/internal/tag_index.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/text/corrupt_message.h"
#include "lmkutils/text/internal/lasting_symbol.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

using internal::Entry;
using internal::EntryReader;
using internal::Segment;

constexpr std::string_view kStoredKey = "value";
constexpr std::size_t kExpectedEntries = 512;

const char* OrEmpty(const char* text) noexcept {
  return text != nullptr ? text : "";
}

dp::TraceFormatter Warning() {
  static const dp::LMTracer tracer("utils", "Lmtrb");
  return tracer(dp::TraceType::Warning);
}

void ReportUnknownTag(const char* tag, const std::string& fileName) {
  Warning() << "LocalizeMessage():- "
            << "Failed to localize string with table(Unknown tag \"" << tag << "\" in  file \"" << fileName
            << "\".) ";
}

void ReportWrongCount(const char* tag, std::size_t given, std::int32_t expected) {
  Warning() << "LocalizeMessage():- "
            << "Failed to localize string with table("
            << "could not build localized string for tag \"" << tag
            << "\" (Incorrect number of arguments: got " << given << ", expected " << expected << ").) ";
}

bool TakesArguments(std::int32_t expected, std::size_t given, const char* tag, bool report) {
  if (given == static_cast<std::size_t>(expected)) return true;
  if (report) ReportWrongCount(tag, given, expected);
  return false;
}

// Joins short messages first: copying a few bytes costs less than a call into the stream.
template <class Sink>
class PieceWriter {
 public:
  explicit PieceWriter(Sink& out) : out_(out) {}
  PieceWriter(const PieceWriter&) = delete;
  PieceWriter& operator=(const PieceWriter&) = delete;

  void Add(const char* bytes, std::size_t count) {
    if (count > buffer_.size() - used_) {
      Flush();
      if (count > buffer_.size()) {
        Put(out_, bytes, count);
        return;
      }
    }
    if (count != 0) std::memcpy(buffer_.data() + used_, bytes, count);
    used_ += count;
  }
  void Flush() {
    if (used_ != 0) Put(out_, buffer_.data(), used_);
    used_ = 0;
  }

 private:
  static void Put(std::ostream& out, const char* bytes, std::size_t count) {
    out.write(bytes, static_cast<std::streamsize>(count));
  }
  static void Put(std::string& out, const char* bytes, std::size_t count) { out.append(bytes, count); }

  Sink& out_;
  std::size_t used_ = 0;
  std::array<char, 512> buffer_;
};

// `segment` is the first of those of `text`; the last one is the one without an argument.
template <class Sink>
void WriteMessage(Sink& out, const char* text, const Segment* segment, const std::vector<std::string>& args) {
  PieceWriter writer(out);
  for (;; ++segment) {
    writer.Add(text + segment->start, static_cast<std::size_t>(segment->length));
    if (segment->argument < 0) break;
    const std::string& argument = args[static_cast<std::size_t>(segment->argument)];
    writer.Add(argument.data(), argument.size());
  }
  writer.Flush();
}

}  // namespace

class Lmtrb::Impl : public CommonAllocated {
 public:
  Impl(std::istream& in, const std::string& fileName, PseudoLocalizeOption option) : fileName_(fileName) {
    Load(in, option == kPseudoLocalize);
  }

  Symbol GetDebugClassName() const override {
    static const internal::LastingSymbol name("Lmtrb::Impl");
    return name.Get();
  }

  // Null, and a report if asked for, when there is no such tag or it does not take that many arguments.
  const Entry* Find(const char* tag, std::size_t argumentCount, bool report) const {
    const std::int32_t index = index_.Find(tag);
    if (index == internal::TagIndex::kNone) {
      if (report) ReportUnknownTag(tag, fileName_);
      return nullptr;
    }
    const Entry* const entry = entries_[static_cast<std::size_t>(index)];
    return TakesArguments(entry->ArgumentCount(), argumentCount, tag, report) ? entry : nullptr;
  }
  const std::vector<const Entry*>& Entries() const { return entries_; }

 private:
  void Load(std::istream& in, bool pseudoLocalize);
  void AddEntry(const EntryReader::Line& line, bool pseudoLocalize, std::vector<Segment>& scratch);
  void BuildIndex();

  internal::Arena arena_;
  std::vector<const Entry*> entries_;  // in file order, in arena_
  internal::TagIndex index_;
  std::string fileName_;
};

void Lmtrb::Impl::Load(std::istream& in, bool pseudoLocalize) {
  entries_.reserve(kExpectedEntries);
  EntryReader reader(in);
  std::vector<Segment> scratch;
  for (EntryReader::Line line; reader.Next(line);) {
    if (line.key == kStoredKey) AddEntry(line, pseudoLocalize, scratch);
  }
  BuildIndex();  // before the other faults: a repeated tag stands before what stopped the reader
  if (!reader.ReachedEnd() || entries_.empty()) throw LocalizerError("No recognizable content.");
  entries_.shrink_to_fit();
}

void Lmtrb::Impl::AddEntry(const EntryReader::Line& line, bool pseudoLocalize,
                           std::vector<Segment>& scratch) {
  char* text = line.value;
  std::size_t length = line.valueLength;
  std::string corrupt;
  if (pseudoLocalize) {
    corrupt = CorruptMessage(std::string_view(text, length));
    text = corrupt.data();
    length = corrupt.size();
  }
  length = internal::Unescape(text, length);
  if (length > internal::kMaxTextLength) throw std::bad_alloc();
  scratch.clear();
  const std::int32_t argumentCount = internal::CutAtPlaceholders({text, length}, scratch);
  entries_.push_back(Entry::Create(arena_, line.tag, {text, length}, scratch, argumentCount));
}

void Lmtrb::Impl::BuildIndex() {
  std::vector<std::string_view> tags;
  tags.reserve(entries_.size());
  for (const Entry* const entry : entries_) tags.push_back(entry->Tag());
  const std::int32_t duplicate = index_.Build(tags);
  assert(duplicate != internal::TagIndex::kNone || index_.IsConsistent(tags));
  if (duplicate == internal::TagIndex::kNone) return;
  throw LocalizerError("Duplicate tag \"" + std::string(tags[static_cast<std::size_t>(duplicate)]) + "\".");
}

Lmtrb::Lmtrb(std::istream& in, const std::string& fileName, PseudoLocalizeOption option)
    : impl_(new Impl(in, fileName, option)) {}

Lmtrb::~Lmtrb() {
  delete impl_;
}

Symbol Lmtrb::GetDebugClassName() const {
  static const internal::LastingSymbol name("Lmtrb");
  return name.Get();
}

bool Lmtrb::BuildLocalizedString(std::ostream& out, const char* tag, bool report) const {
  const Entry* const entry = impl_->Find(OrEmpty(tag), 0, report);
  if (entry == nullptr) return false;
  const std::string_view text = entry->Text();
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  return true;
}

bool Lmtrb::BuildLocalizedString(std::ostream& out, const char* tag, bool report,
                                 const std::vector<std::string>& args) const {
  const Entry* const entry = impl_->Find(OrEmpty(tag), args.size(), report);
  if (entry == nullptr) return false;
  WriteMessage(out, entry->Text().data(), entry->Segments(), args);
  return true;
}

bool Lmtrb::BuildLocalizedString(std::string& out, const char* tag, bool report) const {
  const Entry* const entry = impl_->Find(OrEmpty(tag), 0, report);
  if (entry == nullptr) return false;
  out = entry->Text();
  return true;
}

bool Lmtrb::BuildLocalizedString(std::string& out, const char* tag, bool report,
                                 const std::vector<std::string>& args) const {
  const Entry* const entry = impl_->Find(OrEmpty(tag), args.size(), report);
  if (entry == nullptr) return false;
  std::string message;  // `out` may be one of the arguments
  WriteMessage(message, entry->Text().data(), entry->Segments(), args);
  out = std::move(message);
  return true;
}

bool Lmtrb::BuildLocalizedStringFromExternal(std::ostream& out, const char* tag, const char* text,
                                             bool report, const std::vector<std::string>& args) const {
  std::string unescaped(OrEmpty(text));
  unescaped.resize(internal::Unescape(unescaped.data(), unescaped.size()));
  if (unescaped.size() > internal::kMaxTextLength) throw std::bad_alloc();
  std::vector<Segment> segments;
  const std::int32_t argumentCount = internal::CutAtPlaceholders(unescaped, segments);
  if (!TakesArguments(argumentCount, args.size(), OrEmpty(tag), report)) return false;
  WriteMessage(out, unescaped.data(), segments.data(), args);
  return true;
}

void Lmtrb::AddAllStrings(HashMap<Symbol, Symbol>& map) const {
  for (const Entry* const entry : impl_->Entries()) {
    map.try_emplace(Symbol(entry->Tag().data()), Symbol(entry->Text().data()));
  }
}

}  // namespace du
