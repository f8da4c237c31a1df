#include "lmkutils/l10n/internal/tag_sort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <numeric>

namespace du::internal {
namespace {

using Head = std::uint64_t;

// Tags that agree in their first `depth` bytes.
struct Group {
  std::size_t begin;
  std::size_t end;
  std::size_t depth;
};

Head LoadNative(const char* bytes) noexcept {
  Head head;
  std::memcpy(&head, bytes, sizeof head);
  return head;
}

// The first byte in memory that is not 0.
std::size_t FirstByte(Head native) noexcept {
  const bool isLittle = std::endian::native == std::endian::little;
  return static_cast<std::size_t>(isLittle ? std::countr_zero(native) : std::countl_zero(native)) / 8;
}

// The bytes that two texts have in common at their beginning.
std::size_t CommonPrefix(std::string_view a, std::string_view b) noexcept {
  const std::size_t limit = std::min(a.size(), b.size());
  if (limit < sizeof(Head)) {
    std::size_t at = 0;
    while (at < limit && a[at] == b[at]) ++at;
    return at;
  }
  for (std::size_t at = 0;; at += sizeof(Head)) {
    at = std::min(at, limit - sizeof(Head));  // the last eight bytes may overlap those before
    const Head difference = LoadNative(a.data() + at) ^ LoadNative(b.data() + at);
    if (difference != 0) return at + FirstByte(difference);
    if (at == limit - sizeof(Head)) return limit;
  }
}

// Eight bytes as a number that orders as they do; what is missing counts as 0, which no tag contains.
Head HeadOf(std::string_view text) noexcept {
  std::array<unsigned char, sizeof(Head)> bytes{};
  if (text.size() >= sizeof(Head)) {
    std::memcpy(bytes.data(), text.data(), sizeof(Head));
  } else if (!text.empty()) {
    std::memcpy(bytes.data(), text.data(), text.size());
  }
  Head head = 0;
  for (const unsigned char byte : bytes) head = head << 8 | byte;
  return head;
}

// How many bytes two different heads have in common at their beginning.
std::size_t EqualBytes(Head a, Head b) noexcept {
  return static_cast<std::size_t>(std::countl_zero(a ^ b)) / 8;
}

// How many bytes of the text a head holds.
std::size_t LengthOf(Head head) noexcept {
  return sizeof(Head) - static_cast<std::size_t>(std::countr_zero(head)) / 8;
}

// Whether all that have this head end within it, and so are equal.
bool EndsWithin(Head head) noexcept {
  return (head & 0xFF) == 0;
}

class Sorter {
 public:
  explicit Sorter(const std::vector<std::string_view>& tags)
      : tags_(tags), items_(tags.size()), shared_(tags.size()) {
    std::int32_t entry = 0;
    for (Item& item : items_) item.entry = entry++;
  }

  SortedTags Sort() {
    groups_.push_back({0, items_.size(), 0});
    while (!groups_.empty()) {
      const Group group = groups_.back();
      groups_.pop_back();
      SortGroup(group);
    }
    SortedTags sorted{.order = {}, .shared = std::move(shared_)};
    sorted.order.reserve(items_.size());
    for (const Item& item : items_) sorted.order.push_back(item.entry);
    return sorted;
  }

 private:
  struct Item {
    Head head;
    std::int32_t entry;
  };
  using Items = std::vector<Item>;

  static constexpr std::size_t kManyItems = 256;  // from here on, distributing beats comparing

  std::string_view TextFrom(const Item& item, std::size_t depth) const {
    const std::string_view tag = tags_[static_cast<std::size_t>(item.entry)];
    return tag.substr(std::min(depth, tag.size()));
  }

  // Sorts by the next eight bytes, and leaves what these do not tell apart for later.
  void SortGroup(Group group) {
    if (group.end - group.begin < 2) return;
    group.depth += SharedPrefix(group);
    for (std::size_t i = group.begin; i < group.end; ++i)
      items_[i].head = HeadOf(TextFrom(items_[i], group.depth));
    SortByHead(group);
    for (std::size_t i = group.begin; i < group.end;) {
      const Head head = items_[i].head;
      std::size_t next = i + 1;
      while (next < group.end && items_[next].head == head) ++next;
      if (i > group.begin) Share(i, group.depth + EqualBytes(head, items_[i - 1].head));
      if (EndsWithin(head)) {
        for (std::size_t same = i + 1; same < next; ++same) Share(same, group.depth + LengthOf(head));
      } else if (next - i > 1) {
        groups_.push_back({i, next, group.depth + sizeof(Head)});
      }
      i = next;
    }
  }

  void Share(std::size_t place, std::size_t bytes) { shared_[place] = static_cast<std::uint32_t>(bytes); }

  std::size_t SharedPrefix(const Group& group) const {
    std::string_view shared = TextFrom(items_[group.begin], group.depth);
    for (std::size_t i = group.begin + 1; i < group.end && !shared.empty(); ++i) {
      shared = shared.substr(0, CommonPrefix(shared, TextFrom(items_[i], group.depth)));
    }
    return shared.size();
  }

  void SortByHead(const Group& group) {
    const auto begin = items_.begin() + static_cast<std::ptrdiff_t>(group.begin);
    const auto end = items_.begin() + static_cast<std::ptrdiff_t>(group.end);
    const auto before = [](const Item& a, const Item& b) {
      return a.head != b.head ? a.head < b.head : a.entry < b.entry;
    };
    if (std::is_sorted(begin, end, before)) return;
    if (group.end - group.begin < kManyItems) {
      std::sort(begin, end, before);
    } else {
      Distribute(begin, end);
    }
  }

  // Byte by byte from the last to the first, which keeps the order of entries among equal heads; bytes in
  // which all heads agree are passed over.
  void Distribute(Items::iterator begin, Items::iterator end) {
    Head differences = 0;
    for (auto item = begin; item != end; ++item) differences |= item->head ^ begin->head;
    spare_.resize(std::max(spare_.size(), static_cast<std::size_t>(end - begin)));
    for (std::size_t byte = 0; byte < sizeof(Head); ++byte) {
      if (ByteOf(differences, byte) == 0) continue;
      std::array<std::uint32_t, 256> places{};
      for (auto item = begin; item != end; ++item) ++places[ByteOf(item->head, byte)];
      std::exclusive_scan(places.begin(), places.end(), places.begin(), 0U);
      for (auto item = begin; item != end; ++item) spare_[places[ByteOf(item->head, byte)]++] = *item;
      std::copy_n(spare_.begin(), end - begin, begin);
    }
  }

  static std::size_t ByteOf(Head head, std::size_t byte) { return (head >> (8 * byte)) & 0xFF; }

  const std::vector<std::string_view>& tags_;
  Items items_;
  Items spare_;
  std::vector<std::uint32_t> shared_;
  std::vector<Group> groups_;
};

}  // namespace

SortedTags SortTags(const std::vector<std::string_view>& tags) {
  return Sorter(tags).Sort();
}

}  // namespace du::internal
