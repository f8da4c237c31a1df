#include "tools/lmkutil/language_check.h"

#include <algorithm>
#include <array>

#include "tools/lmkutil/comparison.h"
#include "tools/lmkutil/display_width.h"
#include "tools/lmkutil/string_lines.h"

namespace lmkutil {
namespace {

// Short texts grow more than long ones when they are translated.
constexpr std::size_t kAllowance = 10;

// Findings that a column of its own counts.
constexpr std::array<std::string_view, 8> kCounted{"MISSING",        "SURPLUS",         "DIFFERENT",
                                                   "ARGUMENT_COUNT", "SAME_AS_ENGLISH", "TOO_LONG",
                                                   "FILE_MISSING",   "FILE_SURPLUS"};

bool IsLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}

// Whether there is anything to translate: two letters side by side.
bool HasWords(const std::string& text) {
  const auto areLetters = [](char a, char b) { return IsLetter(a) && IsLetter(b); };
  const std::string decoded = DecodeValue(text);
  return std::adjacent_find(decoded.begin(), decoded.end(), areLetters) != decoded.end();
}

class Judge {
 public:
  Judge(const StringFile& english, StringFile& file, unsigned longest, LanguageSummary& summary)
      : english_(english), file_(file), longest_(longest), summary_(summary) {}

  void Run() {
    const auto messages = ByTag(file_);
    for (const Message& wanted : english_.messages) {
      const auto found = messages.find(wanted.tag);
      if (found == messages.end() || file_.isRefused) {
        ++summary_.missing;
      } else {
        Compare(wanted, *found->second);
      }
    }
  }

 private:
  void Compare(const Message& wanted, const Message& message) {
    if (IsTooLong(wanted, message)) ++summary_.tooLong;
    if (wanted.arguments != message.arguments) {
      ++summary_.arguments;
    } else if (IsCopy(wanted, message)) {
      ++summary_.same;
      file_.findings.push_back(
          {message.line, message.column, Severity::kWarning, "SAME_AS_ENGLISH", {message.tag, kSameNote}});
    } else {
      ++summary_.translated;
    }
  }

  bool IsCopy(const Message& wanted, const Message& message) const {
    return wanted.text == message.text && HasWords(message.text) &&
           !english_.meantAsInEnglish.contains(message.tag) && !file_.meantAsInEnglish.contains(message.tag);
  }

  bool IsTooLong(const Message& wanted, const Message& message) {
    if (longest_ == 0) return false;
    const std::size_t width = DisplayWidth(DecodeValue(message.text));
    const std::size_t englishWidth = DisplayWidth(DecodeValue(wanted.text));
    const std::size_t limit = englishWidth * longest_ / 100 + kAllowance;
    if (width <= limit) return false;
    file_.findings.push_back({message.line,
                              message.column,
                              Severity::kWarning,
                              "TOO_LONG",
                              {std::to_string(width), std::to_string(englishWidth), std::to_string(limit)}});
    return true;
  }

  const StringFile& english_;
  StringFile& file_;
  const unsigned longest_;
  LanguageSummary& summary_;
};

}  // namespace

LanguageSummary CheckLanguage(const std::vector<StringFile>& english, std::vector<StringFile>& files,
                              unsigned longest) {
  LanguageSummary summary;
  for (std::size_t i = 0; i < english.size(); ++i) {
    StringFile& file = files[i];
    summary.wanted += english[i].messages.size();
    if (file.isThere) CompareWithReference(english[i], file);
    Judge(english[i], file, longest, summary).Run();
    std::stable_sort(file.findings.begin(), file.findings.end(), IsBefore);
  }
  for (const StringFile& file : files) {
    for (const Finding& finding : file.findings) {
      if (std::string_view(finding.tag) == "SURPLUS") ++summary.extra;
      if (std::find(kCounted.begin(), kCounted.end(), finding.tag) == kCounted.end()) ++summary.others;
    }
  }
  return summary;
}

}  // namespace lmkutil
