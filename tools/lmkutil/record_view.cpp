#include "tools/lmkutil/record_view.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/json.h"
#include "tools/lmkutil/printable.h"

#include "lmkutils/text/symbol.h"

namespace lmkutil {
namespace {

constexpr auto& kNames = attribute::kAll;
constexpr std::size_t kPath = 0;
constexpr std::size_t kSize = 5;
constexpr std::size_t kTime = 6;
constexpr std::size_t kKind = 7;

constexpr std::size_t kRowsAtOnce = 4096;
constexpr std::size_t kBytesAtOnce = 65'536;

// The place of a name among kNames; their number when it is none of them.
std::size_t PlaceOf(const du::Symbol& name) {
  const auto is = [&](const char* known) { return name == known; };
  return static_cast<std::size_t>(std::find_if(kNames.begin(), kNames.end(), is) - kNames.begin());
}

bool IsNumber(std::string_view text) {
  // Beyond 15 digits readers of JSON lose some.
  return !text.empty() && text.size() <= 15 && (text == "0" || text.front() != '0') &&
         text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string field = "\"";
  for (const char c : text) field += c == '"' ? std::string("\"\"") : std::string(1, c);
  return field + '"';
}

std::string PadRight(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, text.size()), ' ');
}
std::string PadLeft(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

}  // namespace

bool RecordView::Write(RecordForm form, const Put& put) const {
  switch (form) {
    case RecordForm::kJson:
      return WriteJson(put);
    case RecordForm::kCsv:
      return WriteCsv(put);
    case RecordForm::kTable:
      break;
  }
  return WriteTable(put);
}

// The database gives attributes name by name.
bool RecordView::ForEachRow(const std::function<bool(const Row&)>& visit) const {
  static_assert(kNames.size() == kAttributes);
  for (std::size_t start = 0; start < ids_.size(); start += kRowsAtOnce) {
    const auto first = ids_.begin() + static_cast<std::ptrdiff_t>(start);
    const auto count = static_cast<std::ptrdiff_t>(std::min(kRowsAtOnce, ids_.size() - start));
    const du::Dbase::IdList some(first, first + count);
    std::vector<Row> rows(some.size());
    for (const auto& [id, name, value] : records_.GetAttributes(some)) {
      const auto row =
          static_cast<std::size_t>(std::lower_bound(some.begin(), some.end(), id) - some.begin());
      if (const std::size_t place = PlaceOf(name); place < kAttributes) rows[row][place] = std::string(value);
    }
    if (!std::all_of(rows.begin(), rows.end(), visit)) return false;
  }
  return true;
}

bool RecordView::WriteRows(const Format& format, const Put& put) const {
  std::string text;
  bool isFirst = true;
  const bool all = ForEachRow([&](const Row& row) {
    text += format(row, isFirst);
    isFirst = false;
    if (text.size() < kBytesAtOnce) return true;
    return put(std::exchange(text, {}));
  });
  return all && put(text);
}

bool RecordView::WriteTable(const Put& put) const {
  constexpr std::array kColumns{kSize, kTime, kKind};
  Row heads;
  std::copy(kNames.begin(), kNames.end(), heads.begin());
  std::array<std::size_t, kAttributes> widths{};
  const auto measure = [&](const Row& row) {
    for (const std::size_t i : kColumns) widths[i] = std::max(widths[i], row[i].size());
    return true;
  };
  measure(heads);
  ForEachRow(measure);
  const auto line = [&](const Row& row, bool) {
    return PadLeft(row[kSize], widths[kSize]) + "  " + PadRight(row[kTime], widths[kTime]) + "  " +
           PadRight(row[kKind], widths[kKind]) + "  " + Printable(row[kPath]) + "\n";
  };
  return put(line(heads, true)) && WriteRows(line, put);
}

bool RecordView::WriteJson(const Put& put) const {
  const auto object = [](const Row& row, bool isFirst) {
    std::string text;
    for (std::size_t i = 0; i < kAttributes; ++i) {
      if (row[i].empty()) continue;
      const bool isNumber = i == kSize && IsNumber(row[i]);
      text += text.empty() ? "" : ", ";
      text += JsonString(kNames[i]) + ": " + (isNumber ? row[i] : JsonString(row[i]));
    }
    return (isFirst ? "\n  {" : ",\n  {") + text + "}";
  };
  return put("{\"count\": " + std::to_string(ids_.size()) + ", \"records\": [") && WriteRows(object, put) &&
         put("]}\n");
}

bool RecordView::WriteCsv(const Put& put) const {
  const auto line = [](const Row& row, bool) {
    std::string text;
    for (std::size_t i = 0; i < kAttributes; ++i) text += (i == 0 ? "" : ",") + CsvField(row[i]);
    return text + "\n";
  };
  Row heads;
  std::copy(kNames.begin(), kNames.end(), heads.begin());
  return put(line(heads, true)) && WriteRows(line, put);
}

}  // namespace lmkutil
