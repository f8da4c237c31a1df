#include "lmkutils/l10n/internal/tag_index.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <new>
#include <string>

#include "lmkutils/l10n/internal/tag_sort.h"

namespace du::internal {
namespace {

constexpr std::int32_t kHeader = 3;      // integers of a node before its children
constexpr std::int32_t kNoEntry = -2;    // element 2 of a node where no tag ends
constexpr std::int32_t kEntryZero = -3;  // element 2 of a node where the tag of entry 0 ends

// One node a byte that is not shared; most have one child, and leaves make room for those that have more.
std::size_t ExpectedSize(const std::vector<std::string_view>& tags,
                         const std::vector<std::uint32_t>& shared) {
  std::size_t nodeCount = 1;
  for (const std::string_view tag : tags) nodeCount += tag.size();
  for (const std::uint32_t length : shared) nodeCount -= length;
  return nodeCount * (kHeader + 1);
}

}  // namespace

// Takes the tags in ascending order and keeps those nodes on the way to the last one open that later tags may
// join; a node is written when no tag can join it any more, so after all its children.
class TagIndex::Builder {
 public:
  Builder(std::vector<std::int32_t>& nodes, std::size_t expectedSize) : nodes_(nodes) {
    nodes_.resize(expectedSize, kNone);
    open_.push_back({0, kNone});
  }

  // `before` and `after` are the lengths of the prefixes shared with the neighbours in the order.
  void Add(std::string_view tag, std::size_t before, std::size_t after, std::int32_t entry) {
    CloseDownTo(before);
    const std::size_t depth = std::max(before, after);
    while (open_.size() <= depth) open_.push_back({children_.size(), kNone});
    if (depth == tag.size()) {
      open_.back().entry = entry;
    } else {
      children_.push_back({ByteAt(tag, depth), WriteTail(tag, depth, entry)});
    }
    tag_ = tag;
  }
  // Writes what is still open; returns the root's position.
  std::int32_t Finish() {
    CloseDownTo(0);
    const std::int32_t root = WriteNode(open_.front());
    nodes_.resize(size_);
    return root;
  }

 private:
  struct OpenNode {
    std::size_t firstChild;
    std::int32_t entry;
  };
  struct Child {
    std::int32_t byte;
    std::int32_t position;
  };

  static std::int32_t ByteAt(std::string_view tag, std::size_t at) {
    return static_cast<unsigned char>(tag[at]);
  }

  void CloseDownTo(std::size_t depth) {
    while (open_.size() - 1 > depth) {
      const std::int32_t position = WriteNode(open_.back());
      children_.resize(open_.back().firstChild);
      open_.pop_back();
      children_.push_back({ByteAt(tag_, open_.size() - 1), position});
    }
  }

  // The nodes behind the byte at `depth`, which belong to this tag alone: a chain that ends in a leaf.
  std::int32_t WriteTail(std::string_view tag, std::size_t depth, std::int32_t entry) {
    std::int32_t position = Append(-kHeader, kHeader, entry);
    for (std::size_t at = tag.size() - 1; at > depth; --at) {
      const std::int32_t child = position;
      position = Append(ByteAt(tag, at) - kHeader, kHeader + 1, kNone);
      nodes_[size_ - 1] = child;
    }
    return position;
  }

  std::int32_t WriteNode(const OpenNode& node) {
    const bool isLeaf = node.firstChild == children_.size();
    const std::int32_t base = isLeaf ? -kHeader : children_[node.firstChild].byte - kHeader;
    const std::int32_t length = isLeaf ? kHeader : children_.back().byte - base + 1;
    const std::int32_t position = Append(base, length, node.entry);
    for (std::size_t i = node.firstChild; i < children_.size(); ++i) {
      nodes_[static_cast<std::size_t>(position + children_[i].byte - base)] = children_[i].position;
    }
    return position;
  }

  // A node still without children; returns its position.
  std::int32_t Append(std::int32_t base, std::int32_t length, std::int32_t entry) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    const std::size_t position = size_;
    size_ += static_cast<std::size_t>(length);
    if (size_ > kMost) throw std::bad_alloc();
    if (size_ > nodes_.size()) nodes_.resize(size_ + size_ / 2, kNone);
    std::int32_t* const node = nodes_.data() + position;
    node[0] = base;
    node[1] = length;
    node[2] = entry == kNone ? kNoEntry : kEntryZero - entry;
    return static_cast<std::int32_t>(position);
  }

  std::vector<std::int32_t>& nodes_;  // kNone from size_ on
  std::size_t size_ = 0;
  std::vector<OpenNode> open_;   // the way from the root along tag_, as far as it is open
  std::vector<Child> children_;  // of the open nodes, those of deeper nodes behind
  std::string_view tag_;
};

std::int32_t TagIndex::Build(const std::vector<std::string_view>& tags) {
  assert(nodes_.empty());
  const auto [order, shared] = SortTags(tags);
  std::int32_t duplicate = kNone;
  Builder builder(nodes_, ExpectedSize(tags, shared));
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::string_view tag = tags[static_cast<std::size_t>(order[i])];
    const bool isRepeated = i != 0 && shared[i] == tag.size();  // a longer one would stand behind it
    if (isRepeated && (duplicate == kNone || order[i] < duplicate)) duplicate = order[i];
    builder.Add(tag, shared[i], i + 1 < order.size() ? shared[i + 1] : 0, order[i]);
  }
  root_ = builder.Finish();
  return duplicate;
}

std::int32_t TagIndex::Find(const char* tag) const noexcept {
  std::int32_t position = root_;
  for (; position >= 0; ++tag) {
    const std::int32_t* const node = nodes_.data() + position;
    const std::int32_t byte = static_cast<unsigned char>(*tag);
    if (byte == 0) return node[2] <= kEntryZero ? kEntryZero - node[2] : kNone;
    const std::int32_t slot = byte - node[0];
    if (node[1] == kHeader + 1) {  // a single child: its position does not wait for the slot
      if (slot != kHeader) return kNone;
      position = node[kHeader];
      continue;
    }
    if (slot < kHeader || slot >= node[1]) return kNone;
    position = node[slot];
  }
  return kNone;
}

bool TagIndex::IsConsistent(const std::vector<std::string_view>& tags) const {
  std::size_t nodeCount = 0;
  std::size_t tagCount = 0;
  std::vector<std::int32_t> childPositions;
  std::vector<std::int32_t> positions;
  const auto size = static_cast<std::int32_t>(nodes_.size());
  for (std::int32_t at = 0; at < size; ++nodeCount) {
    if (at + kHeader > size) return false;
    const std::int32_t* const node = nodes_.data() + at;
    if (node[1] < kHeader || node[1] > size - at || node[2] > kNoEntry) return false;
    if (node[2] <= kEntryZero) ++tagCount;
    for (std::int32_t slot = kHeader; slot < node[1]; ++slot) {
      if (node[slot] != kNone) childPositions.push_back(node[slot]);
      if (node[slot] < kNone || node[slot] >= at) return false;
    }
    positions.push_back(at);
    at += node[1];
  }
  std::sort(childPositions.begin(), childPositions.end());
  if (positions.empty() || positions.back() != root_) return false;
  positions.pop_back();  // every node but the root is the child of one other
  if (positions != childPositions || tagCount != tags.size()) return false;
  std::int32_t entry = 0;
  return std::all_of(tags.begin(), tags.end(),
                     [&](std::string_view tag) { return Find(std::string(tag).c_str()) == entry++; });
}

}  // namespace du::internal
