// The resources that have been set up.
#ifndef LMKUTILS_L10N_INTERNAL_LOCALIZER_IMPL_MAP_H
#define LMKUTILS_L10N_INTERNAL_LOCALIZER_IMPL_MAP_H

#include "lmkutils/l10n/localizer_impl.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// From name to shared object, one map for the process. A spin lock in static storage, which outlives the map,
// is held while a resource is set up, so that each is set up once. The lock is recursive: a generator may ask
// for another resource.
class LocalizerImplMap : public CommonAllocated {
 public:
  // The object of the name (null counts as empty), set up if need be. Null after the map's end. Throws
  // LocalizerError, also when the resource is being set up by this thread further up, std::bad_alloc, and
  // what a generator throws.
  static SmartPtr<Localizer::Impl> Get(const char* resourceName);

  static void SetGenerator(LocalizerImplGenerator* generator);

  Symbol GetDebugClassName() const override;  // "LocalizerImplMap"

 private:
  struct Traits;
  class SetUp;

  SmartPtr<Localizer::Impl> FindOrSetUp(const Symbol& name);

  HashMap<Symbol, SmartPtr<Localizer::Impl>> impls_;  // null while the resource is being set up
};

}  // namespace du::internal

#endif
