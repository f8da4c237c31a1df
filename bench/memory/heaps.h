#ifndef LMKUTILS_BENCH_MEMORY_HEAPS_H
#define LMKUTILS_BENCH_MEMORY_HEAPS_H

#include <cstddef>

#include <benchmark/benchmark.h>

// A contender of the memory rows is a class that is cheap to copy and gives
//   void* Allocate(std::size_t size), void Free(void* block, std::size_t size)
//   void Purge()                   gives back to the system what is empty
//   Container<T> ForContainer<T>() what its users give to a std::map or a std::list
// All of them are reached through a pointer, as functions of a shared library are: one that is loaded at run
// time beside the others pays no more than one that the program was linked with.
namespace bench {

// The function, of which the compiler knows no more than that it is called through a pointer.
template <class Function>
Function* Opaque(Function* function) {
  Function* volatile opaque = function;
  return opaque;
}

// A heap as an allocator of containers, with nothing in between.
template <class T, class Heap>
class ContainerAllocator {
 public:
  using value_type = T;

  explicit ContainerAllocator(const Heap& heap) : heap_(heap) {}
  template <class U>
  explicit(false) ContainerAllocator(const ContainerAllocator<U, Heap>& other) : heap_(other.GetHeap()) {}

  T* allocate(std::size_t n) { return static_cast<T*>(heap_.Allocate(n * sizeof(T))); }
  void deallocate(T* block, std::size_t n) { heap_.Free(block, n * sizeof(T)); }
  const Heap& GetHeap() const { return heap_; }
  bool operator==(const ContainerAllocator&) const { return true; }

 private:
  Heap heap_;
};

}  // namespace bench

#endif
