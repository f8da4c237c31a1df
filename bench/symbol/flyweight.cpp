// Boost.Flyweight with its defaults: hashed factory, a mutex, reference counts.
#include <unordered_map>

#include "bench/symbol/rows.h"
#include <boost/flyweight.hpp>

namespace bench {
namespace {

struct Flyweight {
  using Handle = boost::flyweight<std::string>;
  // The map hashes the address of the shared text, the least work that a flyweight allows.
  struct Hash {
    std::size_t operator()(const Handle& handle) const {
      return std::hash<const std::string*>()(&handle.get());
    }
  };
  using Map = std::unordered_map<Handle, int, Hash>;
  static Handle Make(const std::string& text) { return Handle(text); }
  static bool Same(const Handle& a, const Handle& b) { return a == b; }
  static void Put(Map& map, const Handle& key, int value) { map[key] = value; }
  static int Find(const Map& map, const Handle& key) { return map.find(key)->second; }
};

const bool registered = (AddSymbolRows<Flyweight>("boost::flyweight"), true);

}  // namespace
}  // namespace bench
