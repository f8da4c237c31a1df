// Tables of text for a terminal.
#ifndef LMKUTIL_TABLE_H
#define LMKUTIL_TABLE_H

#include <string>
#include <vector>

namespace lmkutil {

enum class Align { kLeft, kRight };

class Table {
 public:
  struct Column {
    std::string head;
    Align align;
  };

  explicit Table(std::vector<Column> columns);

  // As many cells as there are columns; UTF-8.
  void AddRow(std::vector<std::string> cells);

  // All lines, the heads first, with two blanks between columns and none at the ends of lines.
  std::string Text() const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;  // the heads first
};

}  // namespace lmkutil

#endif
