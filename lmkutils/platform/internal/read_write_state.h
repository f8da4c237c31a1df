// The policy of dp::ReadWriteLock as functions from one state to the next, apart from waiting and waking.
#ifndef LMKUTILS_PLATFORM_INTERNAL_READ_WRITE_STATE_H
#define LMKUTILS_PLATFORM_INTERNAL_READ_WRITE_STATE_H

#include <cstdint>

namespace dp::internal {

// Who holds the lock and who waits, packed into one word so that each step is a single compare-and-swap:
// three counts of threads, 18 bits each (more than a process can have), the writer's flag, and above them a
// few bits that the policy carries along untouched: which of the lock's own records are claimed, see
// HolderRecords.
class ReadWriteState {
 public:
  using Word = std::uint64_t;

  // What the thread that made a step has to do next, in this order.
  struct Step {
    Word next;
    bool wakeWriter = false;        // one unit to the writers' gate
    std::uint32_t wakeReaders = 0;  // units to the readers' gate
    bool wait = false;              // at its own gate
  };

  static constexpr unsigned kRecordShift = 55;
  static constexpr Word kRecordMask = Word{0xFF} << kRecordShift;

  static constexpr std::uint32_t ActiveReaders(Word word) noexcept { return Field(word); }
  static constexpr std::uint32_t WaitingReaders(Word word) noexcept { return Field(word >> kBits); }
  static constexpr std::uint32_t WaitingWriters(Word word) noexcept { return Field(word >> (2 * kBits)); }
  static constexpr bool WriterActive(Word word) noexcept { return (word & kWriter) != 0; }

  static constexpr bool MayRead(Word word) noexcept { return (word & (kWriter | kWaitingWriters)) == 0; }
  static constexpr bool MayWrite(Word word) noexcept { return (word & (kWriter | kActiveReaders)) == 0; }

  // Nobody waits for a lock that nobody holds, and only writers keep readers waiting.
  static constexpr bool IsConsistent(Word word) noexcept {
    return (WaitingWriters(word) == 0 || !MayWrite(word)) && (WaitingReaders(word) == 0 || !MayRead(word)) &&
           !(WriterActive(word) && ActiveReaders(word) != 0);
  }

  static constexpr Step BeginRead(Word word) noexcept {
    return MayRead(word) ? Step{.next = word + kReader} : Step{.next = word + kWaitingReader, .wait = true};
  }

  // The last reader hands the lock to a waiting writer.
  static constexpr Step EndRead(Word word) noexcept {
    if (WaitingWriters(word) != 0 && ActiveReaders(word) == 1) {
      return {.next = word - kReader - kWaitingWriter + kWriter, .wakeWriter = true};
    }
    return {.next = word - kReader};
  }

  // A caller that reads gives up its place among the readers first.
  static constexpr Step BeginWrite(Word word, bool reads) noexcept {
    const Word without = reads ? word - kReader : word;
    return MayWrite(without) ? Step{.next = without + kWriter}
                             : Step{.next = without + kWaitingWriter, .wait = true};
  }

  // The next writer is preferred, even to the caller that goes on reading; else all readers come in
  // together.
  static constexpr Step EndWrite(Word word, bool reads) noexcept {
    if (WaitingWriters(word) != 0) {
      return {
          .next = word - kWaitingWriter + (reads ? kWaitingReader : 0), .wakeWriter = true, .wait = reads};
    }
    const std::uint32_t waiting = WaitingReaders(word);
    return {.next = word - kWriter - waiting * kWaitingReader + (waiting + (reads ? 1U : 0U)) * kReader,
            .wakeReaders = waiting};
  }

 private:
  static constexpr unsigned kBits = 18;
  static constexpr Word kReader = 1;
  static constexpr Word kWaitingReader = kReader << kBits;
  static constexpr Word kWaitingWriter = kWaitingReader << kBits;
  static constexpr Word kWriter = kWaitingWriter << kBits;
  static constexpr Word kActiveReaders = kWaitingReader - kReader;
  static constexpr Word kWaitingWriters = kWriter - kWaitingWriter;
  static_assert(kWriter << 1 == Word{1} << kRecordShift);

  static constexpr std::uint32_t Field(Word word) noexcept {
    return static_cast<std::uint32_t>(word & (kWaitingReader - 1));
  }
};

}  // namespace dp::internal

#endif
