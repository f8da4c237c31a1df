#include "lmkutils/l10n/internal/entry.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace du::internal {
namespace {

char* AppendText(char* to, std::string_view text) noexcept {
  if (!text.empty()) std::memcpy(to, text.data(), text.size());
  to[text.size()] = '\0';
  return to + text.size() + 1;
}

}  // namespace

const Entry* Entry::Create(Arena& arena, std::string_view tag, std::string_view text,
                           const std::vector<Segment>& segments, std::int32_t argumentCount) {
  static_assert(alignof(Entry) <= Arena::kAlignment && sizeof(Entry) % alignof(Segment) == 0);
  // A segment has at least three bytes of text, and so its twelve bytes cannot overflow a 64-bit size.
  const std::uint64_t size =
      sizeof(Entry) + segments.size() * std::uint64_t{sizeof(Segment)} + tag.size() + text.size() + 2;
  if (std::max(tag.size(), text.size()) > kMaxTextLength || size > SIZE_MAX) throw std::bad_alloc();
  char* const place = arena.Allocate(static_cast<std::size_t>(size));
  Entry* const entry = new (place) Entry;
  entry->tagLength_ = static_cast<std::uint32_t>(tag.size());
  entry->textLength_ = static_cast<std::uint32_t>(text.size());
  entry->segmentCount_ = static_cast<std::uint32_t>(segments.size());
  entry->argumentCount_ = argumentCount;
  auto* const first = reinterpret_cast<Segment*>(place + sizeof(Entry));
  std::uninitialized_copy(segments.begin(), segments.end(), first);
  AppendText(AppendText(reinterpret_cast<char*>(first + segments.size()), text), tag);
  return entry;
}

}  // namespace du::internal
