// The library's hash map.
#ifndef LMKUTILS_TEXT_HASH_MAP_H
#define LMKUTILS_TEXT_HASH_MAP_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/text/hash.h"
#include "lmkutils/text/hash_sizing.h"

namespace du {

namespace internal {

// What a HashMap really hashes by. Where an entry stands shows nowhere, so a key type may have something
// faster than its public hash; see du::Symbol.
template <class Hash>
struct PlacementHash {
  static constexpr bool kComparesKeysAsFast = false;  // as their hashes
  template <class K>
  std::size_t operator()(const K& key) const {
    return Hash()(key);
  }
};

}  // namespace internal

// A map by hashed key with the interface of std::unordered_map as far as it goes. Two things differ:
// iteration follows the order of insertion, whatever the hashes, so that results repeat between runs; and the
// bucket counts are the primes of du::HashNextPrime: 193 at first, more when an insertion would exceed one
// entry a bucket. Entries never move: growth only relinks them, pointers and iterators stay valid until
// erasure.
//
// An operation that throws (no memory, or the key's, value's or hash's own exception) leaves the map as it
// was. Like a standard container it may be read by many threads or changed by one. With a Hash that declares
// is_transparent, find, contains, count and at take whatever the hash and the comparison take: a map of
// symbols is searched by const char* without interning.
template <class Key, class T, class Hash = du::hash<Key>, class Equal = std::equal_to<>,
          class Alloc = CommonAllocator<std::pair<const Key, T>>>
class HashMap {
  struct Link {
    Link* previous;
    Link* next;
  };
  struct Node : Link {
    template <class... Args>
    explicit Node(Args&&... args) : Link{}, value(std::forward<Args>(args)...) {}
    std::size_t hash = 0;
    Node* chain = nullptr;  // the next one of the bucket; beside the key, as it is read with it
    std::pair<const Key, T> value;
  };

  template <class Value>
  class Iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::pair<const Key, T>;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() noexcept = default;
    // An iterator serves as a const_iterator, not the other way round.
    template <class Other>
    requires std::is_convertible_v<Other*, Value*> Iterator(const Iterator<Other>& other)
    noexcept : link_(other.link_) {}

    reference operator*() const noexcept { return static_cast<Node*>(link_)->value; }
    pointer operator->() const noexcept { return &**this; }
    Iterator& operator++() noexcept {
      link_ = link_->next;
      return *this;
    }
    Iterator operator++(int) noexcept {
      Iterator before = *this;
      link_ = link_->next;
      return before;
    }
    Iterator& operator--() noexcept {
      link_ = link_->previous;
      return *this;
    }
    Iterator operator--(int) noexcept {
      Iterator before = *this;
      link_ = link_->previous;
      return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.link_ == b.link_; }

   private:
    friend class HashMap;
    template <class>
    friend class Iterator;
    explicit Iterator(Link* link) noexcept : link_(link) {}
    Link* link_ = nullptr;
  };

  // Asks for what a transparent search needs, for argument types that are not keys themselves.
  template <class K>
  static constexpr bool kOtherKey = !std::is_same_v<std::remove_cvref_t<K>, Key> && requires {
    typename Hash::is_transparent;
  };

 public:
  using key_type = Key;
  using mapped_type = T;
  using value_type = std::pair<const Key, T>;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using hasher = Hash;
  using key_equal = Equal;
  using allocator_type = Alloc;
  using reference = value_type&;
  using const_reference = const value_type&;
  using iterator = Iterator<value_type>;
  using const_iterator = Iterator<const value_type>;

  // An empty map takes no memory.
  HashMap() noexcept { Unlink(); }
  HashMap(std::initializer_list<value_type> values) : HashMap() { insert(values.begin(), values.end()); }
  template <class InputIterator>
  HashMap(InputIterator first, InputIterator last) : HashMap() {
    insert(first, last);
  }
  HashMap(const HashMap& other) : HashMap() {
    reserve(other.size_);
    for (const value_type& value : other) insert(value);
  }
  HashMap(HashMap&& other) noexcept : HashMap() { swap(other); }
  ~HashMap() { clear(); }

  HashMap& operator=(const HashMap& other) {
    if (this != &other) HashMap(other).swap(*this);
    return *this;
  }
  HashMap& operator=(HashMap&& other) noexcept {
    if (this != &other) {
      clear();
      swap(other);
    }
    return *this;
  }

  [[nodiscard]] iterator begin() noexcept { return iterator(ends_.next); }
  [[nodiscard]] iterator end() noexcept { return iterator(&ends_); }
  [[nodiscard]] const_iterator begin() const noexcept { return const_iterator(ends_.next); }
  [[nodiscard]] const_iterator end() const noexcept { return const_iterator(const_cast<Link*>(&ends_)); }
  [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
  [[nodiscard]] const_iterator cend() const noexcept { return end(); }

  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] std::size_t bucket_count() const noexcept {
    return buckets_.empty() ? HashNextPrime(100) : buckets_.size();
  }

  [[nodiscard]] iterator find(const Key& key) { return iterator(FindLink(key)); }
  [[nodiscard]] const_iterator find(const Key& key) const { return const_iterator(FindLink(key)); }
  [[nodiscard]] bool contains(const Key& key) const { return find(key) != end(); }
  [[nodiscard]] std::size_t count(const Key& key) const { return contains(key) ? 1 : 0; }
  // Throw std::out_of_range when there is no such key.
  [[nodiscard]] T& at(const Key& key) { return At(FindLink(key)); }
  [[nodiscard]] const T& at(const Key& key) const { return At(FindLink(key)); }

  template <class K>
  requires(kOtherKey<K>) [[nodiscard]] iterator find(const K& key) { return iterator(FindLink(key)); }
  template <class K>
  requires(kOtherKey<K>) [[nodiscard]] const_iterator find(const K& key) const {
    return const_iterator(FindLink(key));
  }
  template <class K>
  requires(kOtherKey<K>) [[nodiscard]] bool contains(const K& key) const { return find(key) != end(); }
  template <class K>
  requires(kOtherKey<K>) [[nodiscard]] std::size_t count(const K& key) const { return contains(key) ? 1 : 0; }

  // The value of the key, made by default when there was none.
  T& operator[](const Key& key) { return try_emplace(key).first->second; }
  T& operator[](Key&& key) { return try_emplace(std::move(key)).first->second; }

  // Each adds an entry unless there is one with the key; the entry with the key, and whether it is new.
  std::pair<iterator, bool> insert(const value_type& value) { return try_emplace(value.first, value.second); }
  std::pair<iterator, bool> insert(value_type&& value) {
    return try_emplace(value.first, std::move(value.second));
  }
  template <class Pair>
  requires std::is_constructible_v<value_type, Pair&&> std::pair<iterator, bool> insert(Pair&& value) {
    return emplace(std::forward<Pair>(value));
  }
  template <class InputIterator>
  void insert(InputIterator first, InputIterator last) {
    for (; first != last; ++first) insert(*first);
  }
  template <class... Args>
  std::pair<iterator, bool> try_emplace(const Key& key, Args&&... args) {
    return TryEmplace(key, std::forward<Args>(args)...);
  }
  template <class... Args>
  std::pair<iterator, bool> try_emplace(Key&& key, Args&&... args) {
    return TryEmplace(std::move(key), std::forward<Args>(args)...);
  }
  template <class Value>
  std::pair<iterator, bool> insert_or_assign(const Key& key, Value&& value) {
    auto [where, isNew] = try_emplace(key, std::forward<Value>(value));
    if (!isNew) where->second = std::forward<Value>(value);
    return {where, isNew};
  }
  template <class... Args>
  std::pair<iterator, bool> emplace(Args&&... args) {
    Owner node(*this, std::forward<Args>(args)...);
    const Key& key = node->value.first;
    const std::size_t hash = Placement()(key);
    if (Node* present = FindNode(key, hash)) return {iterator(present), false};
    return {Insert(node, hash), true};
  }

  // The entry behind the erased one.
  iterator erase(const_iterator where) noexcept {
    Link* const next = where.link_->next;
    Erase(static_cast<Node*>(where.link_));
    return iterator(next);
  }
  iterator erase(iterator where) noexcept { return erase(const_iterator(where)); }
  // How many were erased, 0 or 1. The key may be the entry's own.
  std::size_t erase(const Key& key) {
    Link* const link = FindLink(key);
    if (link == &ends_) return 0;
    Erase(static_cast<Node*>(link));
    return 1;
  }

  // The buckets stay.
  void clear() noexcept {
    for (Link* link = ends_.next; link != &ends_;) {
      Node* const node = static_cast<Node*>(link);
      link = link->next;
      DestroyNode(node);
    }
    for (Node*& bucket : buckets_) bucket = nullptr;
    Unlink();
  }

  // Room for this many entries without growth in between.
  void reserve(std::size_t entries) {
    if (entries > bucket_count()) Rehash(BucketsFor(entries));
  }

  void swap(HashMap& other) noexcept {
    std::swap(ends_, other.ends_);
    std::swap(size_, other.size_);
    std::swap(reciprocal_, other.reciprocal_);
    buckets_.swap(other.buckets_);
    Relink();
    other.Relink();
  }
  friend void swap(HashMap& a, HashMap& b) noexcept { a.swap(b); }

  // The same keys with equal values, in whatever order.
  friend bool operator==(const HashMap& a, const HashMap& b) {
    if (a.size_ != b.size_) return false;
    for (const value_type& value : a) {
      const const_iterator match = b.find(value.first);
      if (match == b.end() || !(match->second == value.second)) return false;
    }
    return true;
  }

 private:
  using NodeAlloc = typename std::allocator_traits<Alloc>::template rebind_alloc<Node>;
  using Placement = internal::PlacementHash<Hash>;
  using NodeTraits = std::allocator_traits<NodeAlloc>;
  using BucketAlloc = typename std::allocator_traits<Alloc>::template rebind_alloc<Node*>;
  static_assert(NodeTraits::is_always_equal::value, "allocators with a state are not supported");

  // A node that is not in the map yet.
  class Owner {
   public:
    template <class... Args>
    explicit Owner(HashMap&, Args&&... args) {
      NodeAlloc allocator;
      node_ = NodeTraits::allocate(allocator, 1);
      try {
        ::new (static_cast<void*>(node_)) Node(std::forward<Args>(args)...);
      } catch (...) {
        NodeTraits::deallocate(allocator, node_, 1);
        throw;
      }
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() {
      if (node_ != nullptr) DestroyNode(node_);
    }
    Node* operator->() const noexcept { return node_; }
    Node* Release() noexcept { return std::exchange(node_, nullptr); }

   private:
    Node* node_;
  };

  static void DestroyNode(Node* node) noexcept {
    NodeAlloc allocator;
    node->~Node();
    NodeTraits::deallocate(allocator, node, 1);
  }

  static std::size_t BucketsFor(std::size_t entries) {
    if (entries > MaxBucketSize()) throw std::bad_alloc();
    return HashNextPrime(static_cast<unsigned>(entries));
  }

  void Unlink() noexcept {
    ends_.next = ends_.previous = &ends_;
    size_ = 0;
  }

  // After a swap the neighbours of the list's end still point at the other map's.
  void Relink() noexcept {
    if (size_ == 0) {
      Unlink();
    } else {
      ends_.next->previous = &ends_;
      ends_.previous->next = &ends_;
    }
  }

  // Nearly the remainder of the hash by the bucket count, at a fraction of a division's cost: the product
  // with the count's reciprocal is a fraction of 2^32, which is scaled to the count. Hashes that follow each
  // other, as the addresses of symbols made in turn do, thus stand beside each other and seldom meet.
  Node*& BucketOf(std::size_t hash) noexcept {
    const auto folded = static_cast<std::uint32_t>(hash ^ std::uint64_t{hash} >> 32);
    const std::uint32_t fraction = folded * reciprocal_;
    return buckets_[static_cast<std::size_t>(std::uint64_t{fraction} * buckets_.size() >> 32)];
  }
  Node* BucketOf(std::size_t hash) const noexcept { return const_cast<HashMap&>(*this).BucketOf(hash); }

  // Whether a search may leave out the hashes of entries, which can lie in another cache line than their
  // keys.
  template <class K>
  static constexpr bool kSkipsHashes =
      std::is_same_v<K, Key>&& std::is_same_v<Equal, std::equal_to<>>&& Placement::kComparesKeysAsFast;

  template <class K>
  Node* FindNode(const K& key, std::size_t hash) const {
    if (buckets_.empty()) return nullptr;
    for (Node* node = BucketOf(hash); node != nullptr; node = node->chain) {
      if ((kSkipsHashes<K> || node->hash == hash) && Equal()(node->value.first, key)) return node;
    }
    return nullptr;
  }

  template <class K>
  Link* FindLink(const K& key) const {
    if (size_ == 0) return const_cast<Link*>(&ends_);
    Node* const node = FindNode(key, Placement()(key));
    return node != nullptr ? node : const_cast<Link*>(&ends_);
  }

  T& At(Link* link) const {
    if (link == &ends_) throw std::out_of_range("HashMap::at");
    return static_cast<Node*>(link)->value.second;
  }

  template <class K, class... Args>
  std::pair<iterator, bool> TryEmplace(K&& key, Args&&... args) {
    const std::size_t hash = Placement()(key);
    if (Node* present = FindNode(key, hash)) return {iterator(present), false};
    Owner node(*this, std::piecewise_construct, std::forward_as_tuple(std::forward<K>(key)),
               std::forward_as_tuple(std::forward<Args>(args)...));
    return {Insert(node, hash), true};
  }

  // Growth comes first: it may throw, and then the owner still has the node.
  iterator Insert(Owner& owner, std::size_t hash) {
    const std::size_t entries = size_ + 1;
    if (buckets_.empty()) {
      Rehash(BucketsFor(entries > HashNextPrime(100) ? entries : 100));
    } else if (entries > buckets_.size()) {
      const std::size_t more = BucketsFor(entries);
      if (more > buckets_.size()) Rehash(more);
    }
    Node* const node = owner.Release();
    node->hash = hash;
    node->chain = std::exchange(BucketOf(hash), node);
    node->previous = std::exchange(ends_.previous, node);
    node->previous->next = node;
    node->next = &ends_;
    size_ = entries;
    return iterator(node);
  }

  void Rehash(std::size_t bucketCount) {
    std::vector<Node*, BucketAlloc> fresh(bucketCount, nullptr);
    buckets_.swap(fresh);
    reciprocal_ = static_cast<std::uint32_t>(0xFFFFFFFFu / bucketCount + 1);
    for (Link* link = ends_.next; link != &ends_; link = link->next) {
      Node* const node = static_cast<Node*>(link);
      node->chain = std::exchange(BucketOf(node->hash), node);
    }
  }

  void Erase(Node* node) noexcept {
    Node** place = &BucketOf(node->hash);
    while (*place != node) place = &(*place)->chain;
    *place = node->chain;
    node->previous->next = node->next;
    node->next->previous = node->previous;
    --size_;
    DestroyNode(node);
  }

  Link ends_;  // closes the list of all entries into a ring
  std::size_t size_ = 0;
  std::uint32_t reciprocal_ = 0;  // 2^32 by the bucket count, rounded up
  std::vector<Node*, BucketAlloc> buckets_;
};

}  // namespace du

#endif
