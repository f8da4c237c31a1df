#include "tools/lmkutil/po_export.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <utility>

#include "tools/lmkutil/language_tree.h"
#include "tools/lmkutil/message_lint.h"
#include "tools/lmkutil/po_comments.h"
#include "tools/lmkutil/po_header.h"
#include "tools/lmkutil/po_original.h"
#include "tools/lmkutil/result_file.h"
#include "tools/lmkutil/string_file.h"
#include "tools/lmkutil/string_table.h"

namespace lmkutil {
namespace {

constexpr char kBraceFormat[] = "python-brace-format";

std::size_t FirstMessage(const StringLines& file) {
  const auto first = std::find_if(file.lines.begin(), file.lines.end(),
                                  [](const StringLine& line) { return line.IsMessage(); });
  return static_cast<std::size_t>(first - file.lines.begin());
}

// The placeholders of a text in which no brace stands for itself; nothing when one does. Editors and msgfmt
// know such placeholders under the name of another language's format.
std::optional<std::set<std::string>> Placeholders(const std::string& text) {
  std::set<std::string> placeholders;
  for (std::size_t at = text.find_first_of("{}"); at != text.npos; at = text.find_first_of("{}", at)) {
    const std::size_t end = text.find_first_not_of("0123456789", at + 1);
    if (text[at] == '}' || end == text.npos || end == at + 1 || text[end] != '}') return std::nullopt;
    placeholders.insert(text.substr(at, end - at));
    at = end + 1;
  }
  return placeholders;
}

// Lets editors watch over the placeholders, where msgfmt would not find fault with them.
void AddFormatFlag(PoEntry& entry) {
  const auto wanted = Placeholders(entry.id);
  if (!wanted || wanted->empty()) return;
  if (entry.translation.empty() || Placeholders(entry.translation) == wanted)
    entry.flags.emplace_back(kBraceFormat);
}

class TranslationMaker {
 public:
  TranslationMaker(const StringLines& english, const StringLines& translation, const PoNames& names)
      : originals_(english, names.reference), translation_(translation), names_(names) {
    for (const StringLine& line : translation.lines) {
      if (line.IsMessage()) translated_.insert(line.tag);
    }
  }

  std::vector<PoEntry> Make() {
    const std::size_t headerLength = HeaderLength(translation_.lines, FirstMessage(translation_));
    for (std::size_t i = headerLength; i < translation_.lines.size(); ++i) Add(translation_.lines[i]);
    for (const StringLine& line : pending_) entries_.back().comments.push_back(CommentBehind(line));
    std::vector<PoEntry> all{MakeHeader(translation_, headerLength, names_.project, names_.language)};
    AddMissing(all);
    return all;
  }

 private:
  void Add(const StringLine& line) {
    if (line.IsMessage()) {
      AddMessage(line);
    } else if (!AddOwnLine(line)) {
      pending_.push_back(line);
    }
  }

  PoEntry& AddEntry(const std::string& tag) {
    const std::size_t place = originals_.Find(tag);
    PoEntry& entry = entries_.emplace_back();
    if (place < originals_.All().size()) entry = originals_.All()[place].entry;
    entry.context = tag;
    entered_.insert(tag);
    for (const StringLine& before : pending_) entry.comments.push_back(CommentBefore(before));
    pending_.clear();
    return entry;
  }

  void AddMessage(const StringLine& line) {
    PoEntry& entry = AddEntry(line.tag);
    const std::string text = DecodeValue(line.value);
    if (originals_.Find(line.tag) == originals_.All().size()) entry.id = text;
    entry.translation = ShownTranslation(text, entry.id);
    const bool isPlain = line.text == line.tag + ".value=" + EncodeValue(entry.translation);
    if (!isPlain || entry.translation.empty()) entry.comments.push_back(CommentBefore(line));
  }

  // A line about the message before it, or about one that is not translated yet.
  bool AddOwnLine(const StringLine& line) {
    const bool isNew = line.kind == StringLine::Kind::kEntry && !translated_.contains(line.tag) &&
                       !entered_.contains(line.tag) && originals_.Find(line.tag) < originals_.All().size();
    if (!isNew && (entries_.empty() || !pending_.empty())) return false;
    const std::optional<std::string> comment = OwnComment(line, isNew ? line.tag : *entries_.back().context);
    if (!comment) return false;
    (isNew ? AddEntry(line.tag) : entries_.back()).comments.push_back(*comment);
    return true;
  }

  // Puts all entries together, those that the translation does not have behind their English predecessors.
  void AddMissing(std::vector<PoEntry>& all) {
    std::size_t next = 0;
    AddMissingFrom(0, all);
    for (PoEntry& entry : entries_) {
      next = originals_.Find(*entry.context) + 1;
      all.push_back(std::move(entry));
      AddMissingFrom(next, all);
    }
    for (PoEntry& entry : all) AddFormatFlag(entry);
  }

  void AddMissingFrom(std::size_t place, std::vector<PoEntry>& all) const {
    const std::vector<PoOriginal>& originals = originals_.All();
    for (; place < originals.size() && !entered_.contains(*originals[place].entry.context); ++place)
      all.push_back(originals[place].entry);
  }

  PoOriginals originals_;
  const StringLines& translation_;
  const PoNames& names_;
  std::set<std::string> translated_;  // tags that have a message
  std::set<std::string> entered_;     // tags that have an entry
  std::vector<StringLine> pending_;   // lines for the next entry
  std::vector<PoEntry> entries_;
};

std::string WithoutLineBreaks(const std::string& text, bool atStart) {
  const std::size_t found = atStart ? text.find_first_not_of('\n') : text.find_last_not_of('\n');
  if (found == text.npos) return "";
  return atStart ? text.substr(found) : text.substr(0, found + 1);
}

// Faults in which something of a file is lost on its way through a PO file.
bool IsLoss(const Finding& finding) {
  static constexpr std::array<std::string_view, 4> kKept{"MISSPELT_KEY", "UNKNOWN_KEY", "UNFINISHED",
                                                         "HUGE_NUMBER"};
  return finding.severity == Severity::kError &&
         std::find(kKept.begin(), kKept.end(), finding.tag) == kKept.end();
}

// False, and a line on the error stream, when the file cannot be read or is too faulty.
bool ReadForExport(const std::string& path, const Resources& resources, StringLines& file) {
  std::string bytes;
  if (!OpenTable(path, resources, &bytes)) return false;
  const StringFile checked = ReadStringFile(path, bytes);
  if (std::any_of(checked.findings.begin(), checked.findings.end(), IsLoss)) {
    PrintError(resources.Text("FILE_FAULTY", {path}));
    return false;
  }
  file = SplitStringFile(bytes);
  return true;
}

// The last two names of the path, which tell language and file; without what "#: " would take apart.
std::string ReferenceName(const std::string& path) {
  std::string name = path.substr(path.find_last_of("/\\") + 1);  // 0 when there is none
  std::string folder = path.substr(0, path.size() - name.size());
  if (!folder.empty()) folder.pop_back();
  folder.erase(0, folder.find_last_of("/\\") + 1);
  const auto hasBlank = [](const std::string& text) {
    return text.find_first_of(" \t\n\v\f\r") != text.npos;
  };
  if (hasBlank(name)) return "";
  return folder.empty() || hasBlank(folder) ? name : folder + "/" + name;
}

std::string Stem(const std::string& path) {
  const std::string name = path.substr(path.find_last_of("/\\") + 1);  // 0 when there is none
  return name.substr(0, name.find('.'));
}

}  // namespace

std::string ShownTranslation(const std::string& text, const std::string& id) {
  if (text.empty() || id.empty()) return text;
  std::string shown = text;
  if (!id.starts_with('\n')) shown = WithoutLineBreaks(shown, true);
  if (!id.ends_with('\n')) shown = WithoutLineBreaks(shown, false);
  if (shown.empty()) return shown;
  if (id.starts_with('\n') && !shown.starts_with('\n')) shown.insert(0, 1, '\n');
  if (id.ends_with('\n') && !shown.ends_with('\n')) shown += '\n';
  return shown;
}

std::vector<PoEntry> MakeTemplate(const StringLines& english, const PoNames& names) {
  const std::size_t headerLength = HeaderLength(english.lines, FirstMessage(english));
  std::vector<PoEntry> all{MakeHeader(english, headerLength, names.project, names.language)};
  const PoOriginals originals(english, names.reference);
  for (const PoOriginal& original : originals.All()) {
    PoEntry& entry = all.emplace_back(original.entry);
    if (all.size() > 2) entry.comments.assign(original.blanks, "");
    AddFormatFlag(entry);
  }
  return all;
}

std::vector<PoEntry> MakeTranslation(const StringLines& english, const StringLines& translation,
                                     const PoNames& names) {
  return TranslationMaker(english, translation, names).Make();
}

ExitStatus ExportPo(const Options& options, const Resources& resources) {
  const std::vector<std::string>& paths = options.files;
  if (!HasSuffix(paths.back(), {".po", ".pot"}, resources)) return kWrongUsage;
  StringLines english;
  StringLines translation;
  const bool isTemplate = paths.size() == 2;
  if (!ReadForExport(paths.front(), resources, english)) return kFoundWrong;
  if (!isTemplate && !ReadForExport(paths[1], resources, translation)) return kFoundWrong;
  PoNames names{Stem(paths.front()), "", ReferenceName(paths.front())};
  names.language = LanguageOfPath(isTemplate ? paths.back() : paths[1]);
  if (names.language.empty()) names.language = LanguageOfPath(paths.back());
  const std::vector<PoEntry> entries =
      isTemplate ? MakeTemplate(english, names) : MakeTranslation(english, translation, names);
  return WriteResult(paths.back(), WritePo(entries), {paths.begin(), paths.end() - 1}, resources);
}

}  // namespace lmkutil
