#include "lmkutils/files/internal/zlib_stream.h"

#include "lmkutils/os/memory.h"

namespace du::internal {
namespace {

extern "C" voidpf LmkZlibAllocate(voidpf, uInt count, uInt size) {
  return os::HeapAllocate(std::size_t{count} * size);
}

extern "C" void LmkZlibFree(voidpf, voidpf block) {
  os::HeapFree(block);
}

}  // namespace

z_stream NewZlibStream() noexcept {
  z_stream stream{};
  stream.zalloc = LmkZlibAllocate;
  stream.zfree = LmkZlibFree;
  return stream;
}

}  // namespace du::internal
