#include "lmkutils/memory/ref_counted.h"

namespace du {

RefCounted::~RefCounted() = default;

bool RefCounted::ZeroReferenceCountHook() const {
  return true;
}

int RefCounted::AddReferenceFromWeak() const noexcept {
  // A plain sequentially consistent reading. Comparing with -1 and storing -2 would give the same barrier,
  // but would change the count of an object that was released once too often.
  std::int32_t seen = count_.load(std::memory_order_seq_cst);
  while (seen > 0) {
    if (count_.compare_exchange_weak(seen, seen + 1, std::memory_order_seq_cst)) return seen + 1;
  }
  return seen;
}

}  // namespace du
