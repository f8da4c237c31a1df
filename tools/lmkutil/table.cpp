#include "tools/lmkutil/table.h"

#include <algorithm>
#include <utility>

#include "tools/lmkutil/display_width.h"

namespace lmkutil {

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
  std::vector<std::string>& heads = rows_.emplace_back();
  for (const Column& column : columns_) heads.push_back(column.head);
}

void Table::AddRow(std::vector<std::string> cells) {
  rows_.push_back(std::move(cells));
}

std::string Table::Text() const {
  std::vector<std::size_t> widths(columns_.size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  std::string text;
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string padding(widths[i] - DisplayWidth(row[i]), ' ');
      line += i == 0 ? "" : "  ";
      line += columns_[i].align == Align::kRight ? padding + row[i] : row[i] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  }
  return text;
}

}  // namespace lmkutil
