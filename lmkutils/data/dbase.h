// The record database.
#ifndef LMKUTILS_DATA_DBASE_H
#define LMKUTILS_DATA_DBASE_H

#include <string>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/text/symbol.h"

namespace du {

// Any number of records, each known by a 32-bit number, with named attributes:
//
//   du::Dbase files;
//   files.AddAttribute(17, "kind", "text");
//   files.AddAttribute(17, "name", "readme.txt");
//   const du::Dbase::IdList ids = files.PerformQuery("<kind> EQ <text> AND NOT <name> EQ <.*[.]bak>");
//
// A record exists by its attributes only, and may have several of one name, also with the same value. The
// order of all attributes is that of their names (as bytes), then of the record numbers, then in which they
// were added. docs/queries.md has the query language.
//
// Owned by whoever makes it; not copied. The const operations may be used by any number of threads at once;
// the others need the database for themselves, as with a standard container. Results are copies, which no
// later change touches.
//
// An attribute takes 12 bytes on 64-bit targets and 8 on 32-bit ones, up to half of that again while the
// database grows, and each different name some 130 bytes, once. The texts are those of du::Symbol.
//
// Every operation may throw std::bad_alloc, but for those that are noexcept, and leaves the attributes as
// they were then. A null text counts as the empty one. Write record 0 as 0U where a text could stand as well.
class LMK_API Dbase {
 public:
  using IdList = std::vector<unsigned, CommonAllocator<unsigned>>;

  struct AttributeValue {
    Symbol name;
    Symbol value;
  };
  using AttributeValueList = std::vector<AttributeValue, CommonAllocator<AttributeValue>>;

  struct IdValue {
    unsigned id = 0;
    Symbol name;
    Symbol value;
  };
  using IdValueList = std::vector<IdValue, CommonAllocator<IdValue>>;

  Dbase();
  ~Dbase();
  Dbase(const Dbase&) = delete;
  Dbase& operator=(const Dbase&) = delete;

  // Adds to what the record has; to each of the list, once for every time that it stands there.
  void AddAttribute(unsigned id, const Symbol& name, const Symbol& value);
  void AddAttribute(unsigned id, const char* name, const char* value);
  void AddAttribute(const IdList& ids, const Symbol& name, const Symbol& value);
  void AddAttribute(const IdList& ids, const char* name, const char* value);

  // The record's attributes of that name become the one given, which is added when it has none.
  void ReplaceAttribute(unsigned id, const Symbol& name, const Symbol& value);
  void ReplaceAttribute(unsigned id, const char* name, const char* value);
  void ReplaceAttribute(const IdList& ids, const char* name, const char* value);

  // In the order of all attributes. A record that stands in the list several times counts once.
  [[nodiscard]] AttributeValueList GetAttributes(unsigned id) const;
  [[nodiscard]] AttributeValueList GetAttributes(unsigned id, const Symbol& name) const;
  [[nodiscard]] AttributeValueList GetAttributes(unsigned id, const char* name) const;
  [[nodiscard]] IdValueList GetAttributes(const IdList& ids) const;

  // Everything; all of a record; those of a name that it has; those of a name that any record has. What is
  // not there is passed over.
  void RemoveAttributes() noexcept;
  void RemoveAttributes(unsigned id);
  void RemoveAttributes(unsigned id, const Symbol& name);
  void RemoveAttributes(const Symbol& name);
  void RemoveAttributes(const char* name);
  void RemoveAttributes(const IdList& ids);
  void RemoveAttributes(const IdList& ids, const Symbol& name);
  void RemoveAttributes(const IdList& ids, const char* name);

  // Brings all attributes into their order now; otherwise the next reader does it after a change.
  void ForceResort();
  // Gives back what was kept for further growth.
  void ShrinkToFit();

  // The records that the query selects, ascending, each once. A query that is not well-formed leaves two
  // records under "Dbase": an Error "Malformed query from line N of Dbase", where N numbers the step of the
  // parser that failed, and a Debug "Stream Content: | " with the query; see also du::FindQueryFault.
  //
  // Throws std::runtime_error `While Performing query "QUERY", encountered a problem: WHAT`, where WHAT is
  // "Malformed query.", "Invalid regex.", what du::Regex says of a pattern that exceeds its limits, or the
  // text of another standard exception, exhausted memory included.
  [[nodiscard]] IdList PerformQuery(const std::string& query) const;
  [[nodiscard]] IdList PerformQuery(const Symbol& query) const;
  [[nodiscard]] IdList PerformQuery(const char* query) const;

  // For tests: whether the books agree with each other.
  [[nodiscard]] bool IsInSaneState() const;

 private:
  class Impl;

  Impl* impl_;
};

}  // namespace du

#endif
