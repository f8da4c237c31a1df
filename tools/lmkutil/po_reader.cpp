#include <algorithm>
#include <utility>

#include "tools/lmkutil/message_lint.h"
#include "tools/lmkutil/po_file.h"

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz_";

bool IsDigit(char c, int base) {
  const bool isDecimal = c >= '0' && c < '0' + std::min(base, 10);
  return isDecimal || (base == 16 && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
}

// Tokens may stand anywhere: several on a line, or one on several lines. Comments end with their line.
class PoReader {
 public:
  PoReader(std::string_view bytes, std::vector<Finding>& findings) : bytes_(bytes), findings_(findings) {
    if (bytes_.starts_with(kBom)) at_ = kBom.size();
  }

  PoFile Read() {
    const du::EncodingResult utf8 = du::CheckUtf8(bytes_);
    if (!utf8) {
      Refuse(utf8.position, "BAD_UTF8", {HexByte(bytes_[utf8.position])});
      return std::move(file_);
    }
    for (SkipBlanks(); at_ < bytes_.size() && isGood_; SkipBlanks()) {
      if (bytes_[at_] == '#') {
        ReadComment();
      } else if (bytes_[at_] == '"') {
        ReadText();
      } else {
        ReadKeyword();
      }
    }
    Finish();
    return std::move(file_);
  }

 private:
  enum class Part { kComments, kContext, kId, kPlural, kTranslation };

  void Refuse(std::size_t at, const char* tag, std::vector<std::string> args = {}) {
    const std::string_view before = bytes_.substr(0, at);
    const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none
    const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    findings_.push_back(
        {lines + 1, CharacterCount(before.substr(lineStart)) + 1, Severity::kError, tag, std::move(args)});
    isGood_ = false;
  }

  void SkipBlanks() {
    const std::size_t end = std::min(bytes_.find_first_not_of(kBlanks, at_), bytes_.size());
    const std::string_view skipped = bytes_.substr(at_, end - at_);
    line_ += static_cast<std::size_t>(std::count(skipped.begin(), skipped.end(), '\n'));
    at_ = end;
  }

  // The entry that what comes next belongs to: a new one, when the one before has its translation.
  PoEntry& Current() {
    if (part_ == Part::kTranslation) Finish();
    if (!isOpen_) {
      entry_ = {};
      entry_.line = line_;
      isOpen_ = true;
    }
    return entry_;
  }

  void Finish() {
    if (isOpen_ && part_ != Part::kComments) file_.entries.push_back(std::move(entry_));
    isOpen_ = false;
    part_ = Part::kComments;
    target_ = nullptr;
  }

  void ReadComment() {
    const std::size_t end = std::min(bytes_.find('\n', at_), bytes_.size());
    std::string_view text = bytes_.substr(at_ + 1, end - at_ - 1);
    at_ = end;
    if (text.ends_with('\r')) text.remove_suffix(1);
    const char kind = text.empty() ? ' ' : text.front();
    if (kind == '~') {
      ReadObsolete(text.substr(1));
    } else if (kind == '.' || kind == ':' || kind == ',' || kind == '|') {
      text.remove_prefix(1);
      PoEntry& entry = Current();
      if (kind == '.') entry.extracted.emplace_back(WithoutBlank(text));
      if (kind == ',') ReadFlags(text, entry);
    } else {
      Current().comments.emplace_back(WithoutBlank(text));
    }
  }

  static std::string_view WithoutBlank(std::string_view text) {
    return text.substr(text.starts_with(' ') ? 1 : 0);
  }

  static void ReadFlags(std::string_view text, PoEntry& entry) {
    constexpr std::string_view kBetween = ", \t";
    for (std::size_t start = text.find_first_not_of(kBetween); start != text.npos;) {
      const std::size_t end = std::min(text.find_first_of(kBetween, start), text.size());
      entry.flags.emplace_back(text.substr(start, end - start));
      start = text.find_first_not_of(kBetween, end);
    }
  }

  // Comments before an obsolete entry go with it.
  void ReadObsolete(std::string_view text) {
    Current();
    if (part_ == Part::kComments) isOpen_ = false;
    const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
    if (text.substr(start).starts_with("msgid ")) ++file_.obsolete;
  }

  void ReadKeyword() {
    const std::size_t end = std::min(bytes_.find_first_not_of(kLetters, at_), bytes_.size());
    const std::string_view keyword = bytes_.substr(at_, end - at_);
    const std::size_t start = std::exchange(at_, end);
    if (keyword == "msgctxt" && (part_ == Part::kComments || part_ == Part::kTranslation)) {
      target_ = &Current().context.emplace();
      part_ = Part::kContext;
    } else if (keyword == "msgid" && part_ != Part::kId && part_ != Part::kPlural) {
      target_ = &Current().id;
      part_ = Part::kId;
    } else if (keyword == "msgid_plural" && part_ == Part::kId) {
      entry_.hasPlural = true;
      target_ = &ignored_;
      part_ = Part::kPlural;
    } else if (keyword == "msgstr" && (part_ == Part::kId || (entry_.hasPlural && part_ >= Part::kPlural))) {
      target_ = entry_.hasPlural ? &ignored_ : &entry_.translation;
      part_ = Part::kTranslation;
      SkipPluralNumber();
    } else {
      return Refuse(start, "PO_SYNTAX");
    }
    SkipBlanks();
    if (at_ == bytes_.size() || bytes_[at_] != '"') Refuse(at_, "PO_SYNTAX");
  }

  void SkipPluralNumber() {
    if (!entry_.hasPlural || at_ == bytes_.size() || bytes_[at_] != '[') return;
    at_ = std::min(bytes_.find(']', at_), bytes_.size() - 1) + 1;
  }

  void ReadText() {
    const std::size_t start = at_++;
    if (!target_) return Refuse(start, "PO_SYNTAX");
    while (at_ < bytes_.size() && bytes_[at_] != '"') {
      const char c = bytes_[at_] == '\\' ? ReadEscape() : bytes_[at_++];
      if (c == '\0' || (c == '\n' && bytes_[at_ - 1] == '\n')) return Refuse(start, "PO_SYNTAX");
      *target_ += c;
    }
    if (at_ == bytes_.size()) return Refuse(start, "PO_SYNTAX");
    ++at_;
  }

  // Those of the language C. NUL for what is none.
  char ReadEscape() {
    constexpr std::string_view kEscapes = "ntrabfv\"\\'?";
    constexpr std::string_view kMeaning = "\n\t\r\a\b\f\v\"\\'?";
    if (++at_ == bytes_.size()) return '\0';
    if (bytes_[at_] == 'x') {
      ++at_;
      return ReadNumber(16, 2);
    }
    if (IsDigit(bytes_[at_], 8)) return ReadNumber(8, 3);
    const std::size_t escape = kEscapes.find(bytes_[at_++]);
    return escape == kEscapes.npos ? '\0' : kMeaning[escape];
  }

  char ReadNumber(int base, int mostDigits) {
    int number = 0;
    for (; mostDigits > 0 && at_ < bytes_.size() && IsDigit(bytes_[at_], base); --mostDigits) {
      const char c = bytes_[at_++];
      number = number * base + (c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return static_cast<char>(number);
  }

  std::string_view bytes_;
  std::vector<Finding>& findings_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  bool isGood_ = true;
  PoFile file_;
  PoEntry entry_;
  bool isOpen_ = false;            // entry_ has begun
  Part part_ = Part::kComments;    // what of it came last
  std::string* target_ = nullptr;  // what a text in quotation marks is added to
  std::string ignored_;
};

}  // namespace

PoFile ReadPo(std::string_view bytes, std::vector<Finding>& findings) {
  return PoReader(bytes, findings).Read();
}

}  // namespace lmkutil
