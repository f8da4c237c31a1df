// Records of a catalogue as text.
#ifndef LMKUTIL_RECORD_VIEW_H
#define LMKUTIL_RECORD_VIEW_H

#include <array>
#include <functional>
#include <string>

#include "lmkutils/data/dbase.h"

namespace lmkutil {

enum class RecordForm { kTable, kJson, kCsv };

// Some records of a database, which must outlive it. They are brought together and written piece by piece, so
// that a million of them takes no more memory than a few thousand.
class RecordView {
 public:
  // False when it could not be written.
  using Put = std::function<bool(const std::string&)>;

  RecordView(const du::Dbase& records, const du::Dbase::IdList& ids) : records_(records), ids_(ids) {}

  // As a table of size, time, kind and path; as one JSON object; or as lines of CSV (RFC 4180, but with line
  // feeds alone). The latter two have all attributes; docs/queries.md has their form. False when `put` said
  // so, which is not called again then.
  bool Write(RecordForm form, const Put& put) const;

 private:
  static constexpr std::size_t kAttributes = 9;
  using Row = std::array<std::string, kAttributes>;  // values by the order of names; empty where none
  // What a row is as text; the first one comes without rows before it.
  using Format = std::function<std::string(const Row& row, bool isFirst)>;

  bool ForEachRow(const std::function<bool(const Row&)>& visit) const;
  bool WriteRows(const Format& format, const Put& put) const;
  bool WriteTable(const Put& put) const;
  bool WriteJson(const Put& put) const;
  bool WriteCsv(const Put& put) const;

  const du::Dbase& records_;
  const du::Dbase::IdList& ids_;
};

}  // namespace lmkutil

#endif
