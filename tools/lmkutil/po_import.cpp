#include "tools/lmkutil/po_import.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "tools/lmkutil/message_lint.h"
#include "tools/lmkutil/po_comments.h"
#include "tools/lmkutil/po_export.h"
#include "tools/lmkutil/po_header.h"
#include "tools/lmkutil/report.h"
#include "tools/lmkutil/result_file.h"
#include "tools/lmkutil/text_file.h"

namespace lmkutil {
namespace {

// A tag that a line can begin with.
bool IsTag(const std::string& text) {
  return text.find_first_of(".\n") == text.npos && text.find_first_of("# \t\v\f\r") != 0;
}

std::string ListPlaceholdersOf(const std::string& text) {
  std::set<long> numbers;
  LintText(EncodeValue(text), numbers);
  return ListPlaceholders(numbers);
}

class Importer {
 public:
  Importer(bool takeFuzzy, std::vector<Finding>& findings) : takeFuzzy_(takeFuzzy), findings_(findings) {}

  PoImport Run(const std::vector<PoEntry>& entries) {
    if (!entries.empty() && entries.front().IsHeader()) result_.file = ReadHeader(entries.front());
    for (const PoEntry& entry : entries) {
      if (!entry.IsHeader() && IsGood(entry)) Add(entry);
    }
    return std::move(result_);
  }

 private:
  void Report(const PoEntry& entry, Severity severity, const char* tag, std::vector<std::string> args) {
    findings_.push_back({entry.line, 1, severity, tag, std::move(args)});
  }

  bool IsGood(const PoEntry& entry) {
    if (!entry.context || !IsTag(*entry.context)) {
      Report(entry, Severity::kError, "PO_NO_TAG", {});
    } else if (entry.hasPlural) {
      Report(entry, Severity::kError, "PO_PLURAL", {*entry.context});
    } else if (const auto [first, isNew] = lines_.emplace(*entry.context, entry.line); !isNew) {
      Report(entry, Severity::kError, "PO_DUPLICATE", {*entry.context, std::to_string(first->second)});
    } else {
      return true;
    }
    return false;
  }

  // The lines that the comments of an entry stand for.
  struct Lines {
    std::vector<StringLine> before;
    std::vector<StringLine> behind;
    std::optional<StringLine> exact;  // the message as it stood in the file
    bool hasOwn = false;              // one is about the message
  };

  static Lines ReadComments(const PoEntry& entry) {
    Lines lines;
    for (const std::string& comment : entry.comments) {
      CommentedLine commented = LineOfComment(comment, *entry.context);
      lines.hasOwn |= commented.isOwn;
      if (commented.place == CommentedLine::Place::kMessage) {
        lines.exact = std::move(commented.line);
      } else {
        const bool isBefore = commented.place == CommentedLine::Place::kBefore;
        (isBefore ? lines.before : lines.behind).push_back(std::move(commented.line));
      }
    }
    return lines;
  }

  void Add(const PoEntry& entry) {
    Lines lines = ReadComments(entry);
    if (std::optional<StringLine> message = Message(entry, lines.exact)) {
      ++result_.translated;
      Append(lines.before);
      Append({std::move(*message)});
      Append(lines.behind);
    } else {
      AddUntranslated(*entry.context, lines);
    }
  }

  // The line of the message; nothing when it is not translated, or not for sure.
  std::optional<StringLine> Message(const PoEntry& entry, const std::optional<StringLine>& exact) {
    const bool isExact = exact && ShownTranslation(DecodeValue(exact->value), entry.id) == entry.translation;
    if (entry.translation.empty() && !isExact) {
      ++result_.untranslated;
      return std::nullopt;
    }
    if (entry.HasFlag("fuzzy") && !takeFuzzy_) {
      ++result_.fuzzy;
      Report(entry, Severity::kWarning, "PO_FUZZY", {*entry.context});
      return std::nullopt;
    }
    const std::string wanted = ListPlaceholdersOf(entry.id);
    const std::string found = ListPlaceholdersOf(entry.translation);
    if (wanted != found)
      Report(entry, Severity::kWarning, "PO_PLACEHOLDERS", {*entry.context, found, wanted});
    return isExact ? *exact : ParseStringLine(*entry.context + ".value=" + EncodeValue(entry.translation));
  }

  // Comments stay: those that say nothing of the message they belong to are made to, and the empty lines that
  // a template has between messages are left out with them.
  void AddUntranslated(const std::string& tag, Lines& lines) {
    if (!lines.hasOwn) {
      std::vector<StringLine> own;
      for (const StringLine& line : lines.before) {
        if (const std::optional<std::string> comment = PlainComment(line)) {
          own.push_back(ParseStringLine(tag + ".comment=" + *comment));
        } else if (line.kind != StringLine::Kind::kBlank) {
          own.push_back(line);
        }
      }
      lines.before = std::move(own);
    }
    Append(lines.before);
    Append(lines.behind);
  }

  void Append(const std::vector<StringLine>& lines) {
    result_.file.lines.insert(result_.file.lines.end(), lines.begin(), lines.end());
  }

  const bool takeFuzzy_;
  std::vector<Finding>& findings_;
  PoImport result_;
  std::map<std::string, std::size_t> lines_;  // of the tags
};

bool HasErrors(const StringFile& file) {
  return Count({file}).errors != 0;
}

}  // namespace

PoImport ImportEntries(const std::vector<PoEntry>& entries, bool takeFuzzy, std::vector<Finding>& findings) {
  return Importer(takeFuzzy, findings).Run(entries);
}

ExitStatus ImportPo(const Options& options, const Resources& resources) {
  const std::string& path = options.file;
  if (!HasSuffix(options.out, {".lmtrb"}, resources)) return kWrongUsage;
  const std::optional<std::string> bytes = ReadFile(path);
  if (!bytes) {
    PrintError(resources.Text("FILE_UNREADABLE", {path}));
    return kFoundWrong;
  }
  StringFile report;
  report.path = path;
  const PoFile po = ReadPo(*bytes, report.findings);
  const PoImport imported = ImportEntries(po.entries, options.fuzzy, report.findings);
  if (imported.translated == 0 && !HasErrors(report))
    report.findings.push_back({1, 1, Severity::kError, "PO_NOTHING", {}});
  std::string lines = FindingLines(report, resources);
  const ExitStatus written = HasErrors(report)
                                 ? kFoundWrong
                                 : WriteResult(options.out, JoinStringFile(imported.file), {path}, resources);
  if (written == kDone) {
    lines += resources.Text("IMPORT_SUMMARY",
                            {std::to_string(imported.translated), std::to_string(imported.untranslated),
                             std::to_string(imported.fuzzy), std::to_string(po.obsolete)}) +
             "\n";
  }
  const ExitStatus printed = Print(lines, resources);
  return written == kDone ? printed : written;
}

}  // namespace lmkutil
