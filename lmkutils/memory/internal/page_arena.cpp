#include "lmkutils/memory/internal/page_arena.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>

namespace du::internal {

PageArena::~PageArena() {
  for (Chunk* chunk : chunks_) {
    requests_.unmap(chunk->mapping, chunk->mapped);
    os::HeapFree(chunk->tags);
    os::HeapFree(chunk);
  }
}

PageArena::Block PageArena::Allocate(std::size_t size) noexcept {
  if (size == 0) size = 1;
  if (size > std::numeric_limits<std::size_t>::max() / 2) return {.address = nullptr, .size = 0};
  const std::size_t units = (size + requests_.unit - 1) / requests_.unit;
  if (units >= kUsed) return {.address = nullptr, .size = 0};
  const std::size_t bytes = units * requests_.unit;
  const std::size_t alignment = bytes % kLargeAlignment == 0 ? kLargeAlignment : requests_.unit;
  const auto wanted = static_cast<std::uint32_t>(units);
  FreeRun* run = FindFit(wanted, alignment);
  if (run == nullptr) {
    if (!MapChunk(bytes)) return {.address = nullptr, .size = 0};
    run = FindFit(wanted, alignment);
  }
  allocated_ += bytes;
  return {.address = Take(run, wanted, alignment), .size = bytes};
}

void PageArena::Free(void* block) noexcept {
  Chunk& chunk = *ChunkOf(block);
  std::uint32_t first = UnitOf(chunk, block);
  std::uint32_t units = chunk.tags[first] & ~kUsed;
  allocated_ -= units * requests_.unit;
  chunk.freeUnits += units;
  if (const std::uint32_t next = first + units; next < chunk.units && (chunk.tags[next] & kUsed) == 0) {
    units += chunk.tags[next];
    RemoveFree(chunk, next);
  }
  if (first > 0 && (chunk.tags[first - 1] & kUsed) == 0) {
    const std::uint32_t before = chunk.tags[first - 1];
    first -= before;
    units += before;
    RemoveFree(chunk, first);
  }
  AddFree(chunk, first, units);
  if (chunk.freeUnits != chunk.units) return;
  if (emptyChunks_ == 0) {
    ++emptyChunks_;
  } else {
    RemoveFree(chunk, 0);
    Unmap(&chunk);
  }
}

void PageArena::Purge() noexcept {
  for (std::size_t i = chunks_.size(); i-- > 0;) {
    Chunk* chunk = chunks_[i];
    if (chunk->freeUnits != chunk->units) continue;
    RemoveFree(*chunk, 0);
    Unmap(chunk);
  }
  emptyChunks_ = 0;
}

unsigned PageArena::BinOf(std::uint32_t units) noexcept {
  return std::min<unsigned>(static_cast<unsigned>(std::bit_width(units)) - 1, kBins - 1);
}

std::uint32_t PageArena::UnitOf(const Chunk& chunk, const void* address) const noexcept {
  return static_cast<std::uint32_t>(static_cast<std::size_t>(static_cast<const char*>(address) - chunk.base) /
                                    requests_.unit);
}

char* PageArena::AddressOf(const Chunk& chunk, std::uint32_t unit) const noexcept {
  return chunk.base + unit * requests_.unit;
}

void PageArena::Tag(const Chunk& chunk, std::uint32_t first, std::uint32_t units,
                    std::uint32_t used) noexcept {
  chunk.tags[first] = units | used;
  chunk.tags[first + units - 1] = units | used;
}

// Units to leave out at the start of a run so that a block there is aligned.
std::uint32_t PageArena::SkipFor(const Chunk& chunk, std::uint32_t first,
                                 std::size_t alignment) const noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(AddressOf(chunk, first));
  return static_cast<std::uint32_t>(((0 - address) & (alignment - 1)) / requests_.unit);
}

void PageArena::AddFree(Chunk& chunk, std::uint32_t first, std::uint32_t units) noexcept {
  Tag(chunk, first, units, 0);
  FreeRun*& head = bins_[BinOf(units)];
  auto* run = ::new (AddressOf(chunk, first)) FreeRun{.previous = nullptr, .next = head, .chunk = &chunk};
  if (head != nullptr) head->previous = run;
  head = run;
}

void PageArena::RemoveFree(Chunk& chunk, std::uint32_t first) noexcept {
  auto* run = reinterpret_cast<FreeRun*>(AddressOf(chunk, first));
  if (run->previous != nullptr) {
    run->previous->next = run->next;
  } else {
    bins_[BinOf(chunk.tags[first])] = run->next;
  }
  if (run->next != nullptr) run->next->previous = run->previous;
}

PageArena::FreeRun* PageArena::FindFit(std::uint32_t units, std::size_t alignment) const noexcept {
  for (unsigned bin = BinOf(units); bin < kBins; ++bin) {
    FreeRun* best = nullptr;
    std::uint32_t bestUnits = 0;
    for (FreeRun* run = bins_[bin]; run != nullptr; run = run->next) {
      const std::uint32_t first = UnitOf(*run->chunk, run);
      const std::uint32_t have = run->chunk->tags[first];
      if (have < units + SkipFor(*run->chunk, first, alignment)) continue;
      if (best != nullptr && have >= bestUnits) continue;
      best = run;
      bestUnits = have;
      if (have == units) break;
    }
    if (best != nullptr) return best;
  }
  return nullptr;
}

void* PageArena::Take(FreeRun* run, std::uint32_t units, std::size_t alignment) noexcept {
  Chunk& chunk = *run->chunk;
  std::uint32_t first = UnitOf(chunk, run);
  std::uint32_t have = chunk.tags[first];
  if (chunk.freeUnits == chunk.units) --emptyChunks_;
  RemoveFree(chunk, first);
  if (const std::uint32_t skip = SkipFor(chunk, first, alignment); skip != 0) {
    AddFree(chunk, first, skip);
    first += skip;
    have -= skip;
  }
  if (have > units) AddFree(chunk, first + units, have - units);
  Tag(chunk, first, units, kUsed);
  chunk.freeUnits -= units;
  return AddressOf(chunk, first);
}

bool PageArena::MapChunk(std::size_t bytes) noexcept {
  std::size_t size = std::clamp(held_ / requests_.growthDivisor, requests_.smallest, requests_.largest);
  size = std::max(size, bytes);
  size = (size + kLargeAlignment - 1) & ~(kLargeAlignment - 1);
  void* mapping = requests_.map(nullptr, size);
  if (mapping == nullptr && size > bytes + kLargeAlignment) {
    // Short of address space: as little as will do.
    size = (bytes + kLargeAlignment - 1) & ~(kLargeAlignment - 1);
    mapping = requests_.map(nullptr, size);
  }
  if (mapping == nullptr) return false;
  std::size_t mapped = size;
  std::size_t skip = (0 - reinterpret_cast<std::uintptr_t>(mapping)) & (kLargeAlignment - 1);
  if (skip != 0) {  // the system aligns to its pages only
    requests_.unmap(mapping, mapped);
    mapped = size + kLargeAlignment;
    mapping = requests_.map(nullptr, mapped);
    if (mapping == nullptr) return false;
    skip = (0 - reinterpret_cast<std::uintptr_t>(mapping)) & (kLargeAlignment - 1);
  }
  const auto units = static_cast<std::uint32_t>(size / requests_.unit);
  auto* chunk = static_cast<Chunk*>(os::HeapAllocate(sizeof(Chunk)));
  auto* tags = static_cast<std::uint32_t*>(os::HeapAllocate(units * sizeof(std::uint32_t)));
  if (chunk != nullptr && tags != nullptr) {
    try {
      ::new (chunk) Chunk{.base = static_cast<char*>(mapping) + skip,
                          .mapping = mapping,
                          .mapped = mapped,
                          .units = units,
                          .freeUnits = units,
                          .tags = tags};
      const auto place =
          std::upper_bound(chunks_.begin(), chunks_.end(), chunk->base,
                           [](const char* base, const Chunk* other) { return base < other->base; });
      chunks_.insert(place, chunk);
      AddFree(*chunk, 0, units);
      held_ += mapped;
      ++emptyChunks_;
      return true;
    } catch (const std::bad_alloc&) {
      // as when the bookkeeping's memory is not there
    }
  }
  os::HeapFree(chunk);
  os::HeapFree(tags);
  requests_.unmap(mapping, mapped);
  return false;
}

void PageArena::Unmap(Chunk* chunk) noexcept {
  chunks_.erase(std::find(chunks_.begin(), chunks_.end(), chunk));
  held_ -= chunk->mapped;
  requests_.unmap(chunk->mapping, chunk->mapped);
  os::HeapFree(chunk->tags);
  os::HeapFree(chunk);
}

PageArena::Chunk* PageArena::ChunkOf(const void* block) const noexcept {
  const auto after = std::upper_bound(chunks_.begin(), chunks_.end(), static_cast<const char*>(block),
                                      [](const char* address, const Chunk* chunk) {
                                        return std::less<>()(address, static_cast<const char*>(chunk->base));
                                      });
  return *(after - 1);
}

bool PageArena::IsInSaneState() const noexcept {
  std::size_t used = 0;
  std::size_t mapped = 0;
  std::size_t freeRuns = 0;
  unsigned empty = 0;
  for (const Chunk* chunk : chunks_) {
    std::uint32_t freeUnits = 0;
    bool freeBefore = false;
    for (std::uint32_t unit = 0; unit < chunk->units;) {
      const std::uint32_t tag = chunk->tags[unit];
      const std::uint32_t units = tag & ~kUsed;
      if (units == 0 || units > chunk->units - unit || chunk->tags[unit + units - 1] != tag) return false;
      const bool isFree = (tag & kUsed) == 0;
      if (isFree && freeBefore) return false;  // neighbours are merged
      freeBefore = isFree;
      if (isFree) {
        freeUnits += units;
        ++freeRuns;
      } else {
        used += units * requests_.unit;
      }
      unit += units;
    }
    if (freeUnits != chunk->freeUnits) return false;
    if (freeUnits == chunk->units) ++empty;
    mapped += chunk->mapped;
  }
  for (unsigned bin = 0; bin < kBins; ++bin) {
    for (const FreeRun* run = bins_[bin]; run != nullptr; run = run->next) {
      const std::uint32_t tag = run->chunk->tags[UnitOf(*run->chunk, run)];
      if ((tag & kUsed) != 0 || BinOf(tag) != bin || freeRuns-- == 0) return false;
    }
  }
  return used == allocated_ && mapped == held_ && freeRuns == 0 && empty == emptyChunks_;
}

}  // namespace du::internal
