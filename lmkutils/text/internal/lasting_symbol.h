// Symbols that the library keeps for itself.
#ifndef LMKUTILS_TEXT_INTERNAL_LASTING_SYMBOL_H
#define LMKUTILS_TEXT_INTERNAL_LASTING_SYMBOL_H

#include <cstddef>
#include <new>

#include "lmkutils/text/symbol.h"

namespace du::internal {

// A symbol for a function's static variable that is made once and never destroyed, so that no destructor has
// to be ordered against the end of the symbol table:
//   static const internal::LastingSymbol name("FileSpec");
//   return name.Get();
class LastingSymbol {
 public:
  explicit LastingSymbol(const char* text) { ::new (static_cast<void*>(storage_)) Symbol(text); }
  LastingSymbol(const LastingSymbol&) = delete;
  LastingSymbol& operator=(const LastingSymbol&) = delete;

  [[nodiscard]] const Symbol& Get() const noexcept {
    return *std::launder(reinterpret_cast<const Symbol*>(storage_));
  }

 private:
  alignas(Symbol) std::byte storage_[sizeof(Symbol)];
};

}  // namespace du::internal

#endif
