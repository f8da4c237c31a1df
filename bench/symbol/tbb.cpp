// Interning as one would write it over tbb::concurrent_hash_map: the value counts the handles, and whoever
// drops the last one erases the entry unless it was taken up again meanwhile.
#include <atomic>
#include <utility>

#include "bench/symbol/rows.h"
#include <tbb/concurrent_hash_map.h>

namespace bench {
namespace {

using Table = tbb::concurrent_hash_map<std::string, std::atomic<int>>;

Table& TheTable() {
  static Table& table = *new Table;
  return table;
}

class Interned {
 public:
  explicit Interned(const std::string& text) {
    Table& table = TheTable();
    Table::const_accessor found;
    if (!table.find(found, text)) table.insert(found, text);
    entry_ = const_cast<Table::value_type*>(&*found);
    entry_->second.fetch_add(1);
  }
  Interned(const Interned& other) : entry_(other.entry_) { entry_->second.fetch_add(1); }
  Interned(Interned&& other) noexcept : entry_(std::exchange(other.entry_, nullptr)) {}
  Interned& operator=(Interned other) noexcept {
    std::swap(entry_, other.entry_);
    return *this;
  }
  ~Interned() {
    if (!entry_) return;
    // Only with the entry locked may the count fall to 0: nobody can take it up in between.
    int count = entry_->second.load();
    while (count > 1) {
      if (entry_->second.compare_exchange_weak(count, count - 1)) return;
    }
    Table::accessor found;
    if (TheTable().find(found, entry_->first) && entry_->second.fetch_sub(1) == 1) TheTable().erase(found);
  }
  const Table::value_type* Entry() const { return entry_; }

 private:
  Table::value_type* entry_;
};

struct Tbb {
  using Handle = Interned;
  using Map = tbb::concurrent_hash_map<const Table::value_type*, int>;
  static Handle Make(const std::string& text) { return Interned(text); }
  static bool Same(const Handle& a, const Handle& b) { return a.Entry() == b.Entry(); }
  static void Put(Map& map, const Handle& key, int value) { map.insert({key.Entry(), value}); }
  static int Find(const Map& map, const Handle& key) {
    Map::const_accessor found;
    map.find(found, key.Entry());
    return found->second;
  }
};

const bool registered = (AddSymbolRows<Tbb>("tbb::concurrent_hash_map"), true);

}  // namespace
}  // namespace bench
