#include "tools/lmkutil/message_lint.h"

#include <algorithm>
#include <array>

namespace lmkutil {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kEscapes = "\"?\\nrt";
constexpr std::size_t kMostDigits = 4;  // a message with 10,000 arguments is a mistake
constexpr std::size_t kExcerpt = 24;

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// The beginning of a long text, cut between characters.
std::string Excerpt(std::string_view text) {
  std::size_t length = std::min(text.size(), kExcerpt);
  while (length < text.size() && IsContinuation(text[length])) ++length;
  return std::string(text.substr(0, length)) + (length < text.size() ? "..." : "");
}

class TextLinter {
 public:
  TextLinter(std::string_view text, std::set<long>& arguments) : text_(text), arguments_(arguments) {}

  std::vector<TextFault> Run() {
    for (std::size_t at = 0; at < text_.size();) {
      if (text_[at] == '\\') {
        at = Escape(at);
      } else if (text_[at] == '{') {
        at = Brace(at);
      } else {
        Character(at++);
      }
    }
    FindGap();
    return std::move(faults_);
  }

 private:
  void Add(std::size_t offset, Severity severity, const char* tag, std::vector<std::string> args = {}) {
    faults_.push_back({offset, severity, tag, std::move(args)});
  }

  std::size_t Escape(std::size_t at) {
    if (at + 1 == text_.size()) {
      Add(at, Severity::kWarning, "LAST_BACKSLASH");
      return at + 1;
    }
    if (kEscapes.find(text_[at + 1]) != kEscapes.npos) return at + 2;
    std::size_t end = at + 2;
    while (end < text_.size() && IsContinuation(text_[end])) ++end;
    Add(at, Severity::kWarning, "UNKNOWN_ESCAPE", {std::string(text_.substr(at, end - at))});
    return at + 1;  // the byte behind is ordinary text
  }

  // Returns where to go on: behind the placeholder, or behind the brace alone.
  std::size_t Brace(std::size_t at) {
    const std::size_t digitsEnd = std::min(text_.find_first_not_of(kDigits, at + 1), text_.size());
    const bool hasDigits = digitsEnd > at + 1;
    if (hasDigits && digitsEnd < text_.size() && text_[digitsEnd] == '}') {
      Placeholder(at, text_.substr(at, digitsEnd + 1 - at));
      return digitsEnd + 1;
    }
    if (hasDigits) {
      Add(at, Severity::kError, "UNFINISHED", {Excerpt(text_.substr(at, digitsEnd - at))});
    } else if (at + 1 == text_.size() || text_[at + 1] != '{') {  // "{{0}}" puts an argument in braces
      const std::size_t brace = text_.find_first_of("{}", at + 1);
      const bool isClosed = brace != text_.npos && text_[brace] == '}';
      Add(at, Severity::kWarning, "NOT_PLACEHOLDER",
          {Excerpt(text_.substr(at, isClosed ? brace + 1 - at : 1))});
    }
    return at + 1;
  }

  void Placeholder(std::size_t at, std::string_view placeholder) {
    std::string digits(placeholder.substr(1, placeholder.size() - 2));
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > kMostDigits) {
      Add(at, Severity::kError, "HUGE_NUMBER", {Excerpt(placeholder)});
    } else {
      arguments_.insert(std::stol(digits));
    }
  }

  void Character(std::size_t at) {
    const char c = text_[at];
    if (c == '\0') {
      Add(at, Severity::kError, "NUL_IN_VALUE");
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      if (c != '\t') Add(at, Severity::kWarning, "CONTROL", {HexByte(c)});
    }
  }

  void FindGap() {
    long expected = 0;
    for (const long argument : arguments_) {
      if (argument != expected) {
        Add(0, Severity::kWarning, "UNUSED_ARGUMENT",
            {ListPlaceholders({argument}), ListPlaceholders({expected})});
        return;
      }
      ++expected;
    }
  }

  std::string_view text_;
  std::set<long>& arguments_;
  std::vector<TextFault> faults_;
};

}  // namespace

std::vector<TextFault> LintText(std::string_view text, std::set<long>& arguments) {
  return TextLinter(text, arguments).Run();
}

std::size_t CharacterCount(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuation(c); }));
}

std::string HexByte(char byte) {
  static constexpr std::array<char, 16> kHex{'0', '1', '2', '3', '4', '5', '6', '7',
                                             '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};
  const auto value = static_cast<unsigned char>(byte);
  return {kHex[value >> 4], kHex[value & 0xF]};
}

}  // namespace lmkutil
