// SQLite in memory: the entries as a table that is itself ordered by name and record, with an index by name
// and value; the records have a table of their own for NOT. REGEXP is PCRE2, compiled once a statement.
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/queries/pcre2.h"
#include "bench/queries/rows.h"
#include <sqlite3.h>

namespace bench {
namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

std::string_view TextOf(sqlite3_value* value) {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// regexp(pattern, value)
void Regexp(sqlite3_context* context, int, sqlite3_value** arguments) {
  auto* regex = static_cast<Pcre2Regex*>(sqlite3_get_auxdata(context, 0));
  if (regex == nullptr) {
    regex = new Pcre2Regex(TextOf(arguments[0]));
    sqlite3_set_auxdata(context, 0, regex, [](void* made) { delete static_cast<Pcre2Regex*>(made); });
  }
  sqlite3_result_int(context, regex->Matches(TextOf(arguments[1])) ? 1 : 0);
}

std::string LeafAsSql(const Leaf& leaf) {
  std::string sql = std::string("SELECT id FROM entry WHERE name = '") + leaf.name + "'";
  const std::string pattern = std::string("'") + leaf.pattern + "'";
  if (leaf.test == Test::kLiteral) sql += " AND value = " + pattern;
  if (leaf.test == Test::kEqual) sql += " AND value REGEXP " + pattern;
  if (leaf.test == Test::kNotEqual) sql += " AND NOT value REGEXP " + pattern;
  return sql;
}

std::string AsSql(const Query& query) {
  using Operation = QueryStep::Operation;
  std::string sql;
  for (const auto& [operation, isNegated, leaf] : query.steps) {
    const std::string positive = LeafAsSql(leaf);
    const std::string all = "SELECT id FROM record";
    const std::string operand = isNegated ? "SELECT * FROM (" + all + " EXCEPT " + positive + ")" : positive;
    if (operation == Operation::kFirst) sql = operand;
    if (operation == Operation::kAnd) sql += isNegated ? " EXCEPT " + positive : " INTERSECT " + operand;
    if (operation == Operation::kOr) sql += " UNION " + operand;
    if (operation == Operation::kXor) {
      sql = "SELECT id FROM (SELECT * FROM (" + sql + ") UNION ALL " + operand +
            ") GROUP BY id HAVING count(*) = 1";
    }
  }
  return sql + " ORDER BY 1";
}

class Sqlite {
 public:
  using Prepared = std::string;

  Sqlite() {
    Require(sqlite3_open(":memory:", &database_) == SQLITE_OK);
    Require(sqlite3_create_function(database_, "regexp", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                    Regexp, nullptr, nullptr) == SQLITE_OK);
    Run("PRAGMA journal_mode = OFF");
    Run("CREATE TABLE entry (name TEXT, id INTEGER, value TEXT, PRIMARY KEY (name, id)) WITHOUT ROWID");
    Run("CREATE TABLE record (id INTEGER PRIMARY KEY)");
    Run("BEGIN");
    addEntry_ = Compile("INSERT INTO entry VALUES (?1, ?2, ?3)");
    addRecord_ = Compile("INSERT INTO record VALUES (?1)");
  }
  ~Sqlite() {
    addEntry_.reset();
    addRecord_.reset();
    sqlite3_close_v2(database_);
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void Add(unsigned id, const Record& record) {
    sqlite3_bind_int64(addRecord_.get(), 1, id);
    Step(addRecord_.get());
    for (std::size_t i = 0; i < record.size(); ++i) {
      BindText(addEntry_.get(), 1, kAttributes[i]);
      sqlite3_bind_int64(addEntry_.get(), 2, id);
      BindText(addEntry_.get(), 3, record[i]);
      Step(addEntry_.get());
    }
  }
  void EndOfLoading() {
    Run("CREATE INDEX by_value ON entry (name, value)");
    Run("ANALYZE");
    Run("COMMIT");
  }

  void Replace(const std::vector<unsigned>& ids, const char* name, const std::string& value) {
    Run("BEGIN");
    const Statement update = Compile("UPDATE entry SET value = ?3 WHERE name = ?1 AND id = ?2");
    for (const unsigned id : ids) {
      BindText(update.get(), 1, name);
      sqlite3_bind_int64(update.get(), 2, id);
      BindText(update.get(), 3, value);
      Step(update.get());
    }
    Run("COMMIT");
  }

  static Prepared Prepare(const Query& query) { return AsSql(query); }

  Ids Perform(const Prepared& sql) const {
    const Statement statement = Compile(sql);
    Ids ids;
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
      ids.push_back(static_cast<unsigned>(sqlite3_column_int64(statement.get(), 0)));
    }
    return ids;
  }

 private:
  void Run(const char* sql) const {
    Require(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK);
  }
  Statement Compile(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK);
    return Statement(statement);
  }
  static void BindText(sqlite3_stmt* statement, int position, std::string_view text) {
    sqlite3_bind_text(statement, position, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }
  static void Step(sqlite3_stmt* statement) {
    Require(sqlite3_step(statement) == SQLITE_DONE);
    sqlite3_reset(statement);
  }

  sqlite3* database_ = nullptr;
  Statement addEntry_;
  Statement addRecord_;
};

const bool registered = (AddQueryRows<Sqlite>("SQLite"), AddChangeRows<Sqlite>("SQLite"), true);

}  // namespace
}  // namespace bench
