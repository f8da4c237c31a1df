#include "bench/symbol/rows.h"

#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace bench {
namespace {

struct Ours {
  using Handle = du::Symbol;
  using Map = du::HashMap<du::Symbol, int>;
  static Handle Make(const std::string& text) { return du::Symbol(text); }
  static bool Same(const Handle& a, const Handle& b) { return a == b; }
  static void Put(Map& map, const Handle& key, int value) { map[key] = value; }
  static int Find(const Map& map, const Handle& key) { return map.find(key)->second; }
};

const bool registered = (AddSymbolRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
