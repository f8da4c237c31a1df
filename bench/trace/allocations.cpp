#include "bench/trace/allocations.h"

#include <cstddef>

// The run-time lets a program stand in front of its malloc; all contenders pay for the counting alike.
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);

namespace {
volatile std::uint64_t allocations = 0;
}

extern "C" void* malloc(std::size_t size) {
  allocations = allocations + 1;
  return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
  allocations = allocations + 1;
  return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) {
  allocations = allocations + 1;
  return __libc_realloc(block, size);
}

namespace bench {

std::uint64_t Allocations() {
  return allocations;
}

}  // namespace bench
