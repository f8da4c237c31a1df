// What a read-write lock knows of each thread that holds it.
#ifndef LMKUTILS_PLATFORM_INTERNAL_THREAD_RECORDS_H
#define LMKUTILS_PLATFORM_INTERNAL_THREAD_RECORDS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace dp::internal {

/// How often one thread holds the lock. All but `owner` and `next` belong to the owner alone.
struct ThreadRecord {
  std::atomic<std::uintptr_t> owner;  // os::CurrentThreadToken; 0: anybody may claim the record
  std::int32_t readDepth;
  std::int32_t writeDepth;
  ThreadRecord* next;
};

/// Lists that only grow, pushed at the front by compare-and-swap and read without a lock: a thread finds its
/// own record or claims one that was given up, so there are no more records than there were holders at one
/// time. A thread that ends while it holds the lock leaves a record that nobody can mistake for another's as
/// long as it lasts.
///
/// The records stand in several lists, by thread, so that a search stays short when many threads read at
/// once.
class ThreadRecords {
 public:
  ThreadRecords() noexcept = default;
  ~ThreadRecords();
  ThreadRecords(const ThreadRecords&) = delete;
  ThreadRecords& operator=(const ThreadRecords&) = delete;

  /// The thread's record; null when it holds nothing.
  ThreadRecord* Find(std::uintptr_t thread) const noexcept;

  /// The thread's record, with depths of 0 when it is new. Throws std::bad_alloc.
  ThreadRecord& Obtain(std::uintptr_t thread);

  /// Lets the record go when both depths are 0.
  static void GiveUpIfIdle(ThreadRecord& record) noexcept;

  /// The number of records that exist, claimed or not.
  std::size_t Count() const noexcept;

 private:
  static constexpr std::size_t kLists = 8;

  static std::size_t ListOf(std::uintptr_t thread) noexcept;
  static ThreadRecord* Claim(ThreadRecord* first, std::uintptr_t thread) noexcept;

  std::array<std::atomic<ThreadRecord*>, kLists> lists_{};
};

}  // namespace dp::internal

#endif
