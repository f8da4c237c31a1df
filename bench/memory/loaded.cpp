// Allocators that would put themselves in the place of malloc if the program were linked with them. They are
// loaded at run time beside it instead, for themselves alone, and reached by pointers; one that the machine
// does not have drops out. Their per-thread data want room that the loader has to set aside beforehand:
// report.py asks for it.
#include <cstdio>

#include "bench/memory/rows.h"
#include <dlfcn.h>

namespace bench {
namespace {

// A shared library's function; the process ends when the library does not have it.
template <class Function>
Function* Find(void* library, const char* name) {
  auto* function = reinterpret_cast<Function*>(dlsym(library, name));
  if (function == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  return function;
}

struct Mimalloc {
  static constexpr char kName[] = "mimalloc";
  static constexpr char kFile[] = "libmimalloc.so.2";

  explicit Mimalloc(void* library)
      : malloc_(Find<void*(std::size_t)>(library, "mi_malloc")),
        free_(Find<void(void*)>(library, "mi_free")),
        collect_(Find<void(bool)>(library, "mi_collect")) {}
  void* Allocate(std::size_t size) { return malloc_(size); }
  void Free(void* block, std::size_t) { free_(block); }
  void Purge() { collect_(true); }

 private:
  void* (*malloc_)(std::size_t);
  void (*free_)(void*);
  void (*collect_)(bool);
};

struct Jemalloc {
  static constexpr char kName[] = "jemalloc";
  static constexpr char kFile[] = "libjemalloc.so.2";

  explicit Jemalloc(void* library)
      : malloc_(Find<void*(std::size_t)>(library, "malloc")),
        free_(Find<void(void*, std::size_t, int)>(library, "sdallocx")),
        control_(Find<int(const char*, void*, std::size_t*, void*, std::size_t)>(library, "mallctl")) {}
  void* Allocate(std::size_t size) { return malloc_(size); }
  void Free(void* block, std::size_t size) { free_(block, size, 0); }
  void Purge() {
    control_("thread.tcache.flush", nullptr, nullptr, nullptr, 0);
    control_("arena.4096.purge", nullptr, nullptr, nullptr, 0);  // 4096 stands for all arenas
  }

 private:
  void* (*malloc_)(std::size_t);
  void (*free_)(void*, std::size_t, int);
  int (*control_)(const char*, void*, std::size_t*, void*, std::size_t);
};

struct Tcmalloc {
  static constexpr char kName[] = "tcmalloc";
  static constexpr char kFile[] = "libtcmalloc_minimal.so.4";

  explicit Tcmalloc(void* library)
      : malloc_(Find<void*(std::size_t)>(library, "tc_malloc")),
        free_(Find<void(void*, std::size_t)>(library, "tc_free_sized")),
        emptyCache_(Find<void()>(library, "MallocExtension_MarkThreadIdle")),
        release_(Find<void()>(library, "MallocExtension_ReleaseFreeMemory")) {}
  void* Allocate(std::size_t size) { return malloc_(size); }
  void Free(void* block, std::size_t size) { free_(block, size); }
  void Purge() {
    emptyCache_();
    release_();
  }

 private:
  void* (*malloc_)(std::size_t);
  void (*free_)(void*, std::size_t);
  void (*emptyCache_)();
  void (*release_)();
};

template <class Base>
struct Loaded : Base {
  using Base::Base;
  template <class T>
  auto ForContainer() const {
    return ContainerAllocator<T, Loaded>(*this);
  }
};

template <class Heap>
void AddLoaded() {
  void* library = dlopen(Heap::kFile, RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) {
    AddMemoryRows(Heap::kName, Loaded<Heap>(library));
  } else {
    std::fprintf(stderr, "bench_memory: without %s: %s\n", Heap::kName, dlerror());
  }
}

bool Register() {
  AddLoaded<Mimalloc>();
  AddLoaded<Jemalloc>();
  AddLoaded<Tcmalloc>();
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
