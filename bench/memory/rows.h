#ifndef LMKUTILS_BENCH_MEMORY_ROWS_H
#define LMKUTILS_BENCH_MEMORY_ROWS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <numeric>
#include <string>
#include <thread>
#include <utility>

#include "bench/bench.h"
#include "bench/memory/heaps.h"
#include "bench/memory/held.h"
#include "bench/memory/ring.h"
#include "bench/memory/system.h"
#include "bench/memory/trace.h"

// The rows of allocators, written once for all contenders; heaps.h says what a contender is.
namespace bench {

template <class Heap>
void HotPair(benchmark::State& state, Heap heap, std::size_t size) {
  for (auto _ : state) {
    void* block = heap.Allocate(size);
    *static_cast<std::size_t*>(block) = size;
    benchmark::DoNotOptimize(block);
    heap.Free(block, size);
  }
}

inline constexpr std::size_t kBatch = 1000;
using Order = std::array<std::uint16_t, kBatch>;

inline Order InOrder() {
  Order order;
  std::iota(order.begin(), order.end(), std::uint16_t{0});
  return order;
}

inline Order InReverse() {
  Order order = InOrder();
  std::reverse(order.begin(), order.end());
  return order;
}

inline Order AtRandom() {
  Order order = InOrder();
  Numbers numbers(1);
  for (std::size_t i = kBatch; i > 1; --i) std::swap(order[i - 1], order[numbers.Below(i)]);
  return order;
}

// Judged by the time of one block.
template <class Heap>
void Batch(benchmark::State& state, Heap heap, const Order& order) {
  constexpr std::size_t kSize = 64;
  std::array<void*, kBatch> blocks{};
  while (state.KeepRunningBatch(kBatch)) {
    for (void*& block : blocks) {
      block = heap.Allocate(kSize);
      *static_cast<std::size_t*>(block) = kSize;
    }
    for (const std::size_t i : order) heap.Free(blocks[i], kSize);
  }
}

template <class Heap>
void MixedTrace(benchmark::State& state, const Heap& heap) {
  LiveBlocks<Heap> blocks(heap, static_cast<unsigned>(state.thread_index()));
  for (std::size_t i = 0; i < LiveBlocks<Heap>::kCount; ++i) blocks.ReplaceOne();
  for (auto _ : state) blocks.ReplaceOne();
}

// Another thread, on another processor where there is one, frees what the measured one allocates, until it is
// handed null.
template <class Heap>
void HandedOver(benchmark::State& state, Heap heap) {
  constexpr std::size_t kSize = 64;
  Ring ring;
  std::thread other([&ring, heap, processor = state.thread_index() + 1]() mutable {
    const StayOnProcessor there(processor);
    while (void* block = ring.Take()) heap.Free(block, kSize);
  });
  const StayOnProcessor here(state.thread_index());  // after the other, which would inherit it
  for (auto _ : state) {
    void* block = heap.Allocate(kSize);
    *static_cast<std::size_t*>(block) = kSize;
    ring.Put(block);
  }
  ring.Put(nullptr);
  other.join();
}

template <class Heap>
void MapChurn(benchmark::State& state, const Heap& heap) {
  using Pair = std::pair<const std::uint32_t, std::uint32_t>;
  constexpr std::uint32_t kCount = 1000;
  auto allocator = heap.template ForContainer<Pair>();
  std::map<std::uint32_t, std::uint32_t, std::less<>, decltype(allocator)> map(allocator);
  for (std::uint32_t i = 0; i < kCount; ++i) map.emplace(i, i);
  Numbers numbers(1);
  for (auto _ : state) {
    const auto key = static_cast<std::uint32_t>(numbers.Below(kCount));
    map.erase(key);
    map.emplace(key, key);
  }
}

template <class Heap>
void ListChurn(benchmark::State& state, const Heap& heap) {
  auto allocator = heap.template ForContainer<std::size_t>();
  std::list<std::size_t, decltype(allocator)> list(1000, std::size_t{0}, allocator);
  for (auto _ : state) {
    list.push_back(list.front());
    list.pop_front();
  }
}

// One thread, two, and four, which are more than the machine may have processors.
template <class Function>
void AddThreads(const std::string& row, const std::string& name, Function function) {
  AddBoth(row, name, function);
  AddMany(row, name, 4, function);
}

template <class Heap>
void AddMemoryRows(const std::string& name, const Heap& heap) {
  for (const std::size_t size : {16U, 64U, 256U, 1024U, 8192U}) {
    const std::string row = "allocate and free " + std::to_string(size) + " bytes";
    const auto run = [=](benchmark::State& s) { HotPair(s, heap, size); };
    if (size == 64 || size == 1024) {
      AddThreads(row, name, run);
    } else {
      AddSingle(row, name, run);
    }
  }
  AddSingle("1000 blocks freed in order", name, [=](benchmark::State& s) { Batch(s, heap, InOrder()); });
  AddSingle("1000 blocks freed in reverse", name, [=](benchmark::State& s) { Batch(s, heap, InReverse()); });
  AddThreads("1000 blocks freed at random", name, [=](benchmark::State& s) { Batch(s, heap, AtRandom()); });
  AddThreads("mixed sizes, 100 thousand live blocks", name,
             [=](benchmark::State& s) { MixedTrace(s, heap); });
  AddWall("handed over and freed by another thread", name, [=](benchmark::State& s) { HandedOver(s, heap); });
  AddPair("handed over and freed by another thread each", name,
          [=](benchmark::State& s) { HandedOver(s, heap); });
  AddThreads("std::map: erase and insert", name, [=](benchmark::State& s) { MapChurn(s, heap); });
  AddThreads("std::list: push and pop", name, [=](benchmark::State& s) { ListChurn(s, heap); });
  AddFigure("held at the peak of the mixed trace, over requested", name, "times",
            [=] { return HeldOverRequested(heap); });
  AddFigure("held after all was freed and purged", name, "MiB", [=] { return HeldAfterPurge(heap); });
}

}  // namespace bench

#endif
