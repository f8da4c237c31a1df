// The index from tags to entries: an array trie over the tags' bytes.
#ifndef LMKUTILS_L10N_INTERNAL_TAG_INDEX_H
#define LMKUTILS_L10N_INTERNAL_TAG_INDEX_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace du::internal {

// Built once, then only read, by any number of threads.
//
// A node is a run of integers in one array, and a node's position is where its run begins:
//
//   0   base: the smallest child byte - 3, so that a byte's slot is byte - base; -3 without children
//   1   the run's length: 3 + largest child byte - smallest child byte + 1; 3 without children
//   2   -3 - the entry's number; -2 when no tag ends here
//   3+  the positions of the children, -1 where there is none
//
// A tag is found with one array access a byte and neither hashing nor comparing. The nodes stand in
// post-order, children by ascending byte, so the root is the last. Nothing here recurses: a tag of a megabyte
// is a megabyte deep.
class TagIndex {
 public:
  static constexpr std::int32_t kNone = -1;

  // Fills an empty index: entry i has the tag tags[i], free of NUL bytes. Returns kNone, or, when a tag
  // occurs twice, the number of the first entry whose tag an entry before it has; the index is then not to be
  // used. Throws std::bad_alloc, also when the nodes would not fit into 2^31 - 1 integers.
  std::int32_t Build(const std::vector<std::string_view>& tags);

  // The number of the entry with this tag; kNone when there is none, or when nothing was built.
  std::int32_t Find(const char* tag) const noexcept;

  // Whether the nodes are well-formed, each has one parent, and exactly the `tags` given to Build are found.
  bool IsConsistent(const std::vector<std::string_view>& tags) const;

 private:
  class Builder;

  std::vector<std::int32_t> nodes_;
  std::int32_t root_ = kNone;
};

}  // namespace du::internal

#endif
