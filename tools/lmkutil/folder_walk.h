// What is in a folder and all folders below it.
#ifndef LMKUTIL_FOLDER_WALK_H
#define LMKUTIL_FOLDER_WALK_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "lmkutils/platform/object_level_lockable.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/task_pool.h"
#include "lmkutils/text/symbol.h"

namespace lmkutil {

// One file. The texts are those of a catalogue's attributes, empty where there is nothing to tell.
struct FileNote {
  enum class State : unsigned char { kListed, kRead, kUnreadable, kVanished };

  du::Symbol name;
  du::Symbol path;
  du::Symbol extension;
  du::Symbol version;
  du::Symbol size;
  du::Symbol time;
  du::Symbol crc32;
  const char* kind = nullptr;
  State state = State::kListed;
};

class FileContents;

struct Folder {
  std::string path;  // absolute
  std::vector<FileNote> files;
};

struct WalkCounts {
  std::atomic<std::uint64_t> folders{0};
  std::atomic<std::uint64_t> filesFound{0};
  std::atomic<std::uint64_t> filesDone{0};  // whatever came of them
  std::atomic<std::uint64_t> bytes{0};      // read
  std::atomic<std::uint64_t> links{0};      // not followed
  std::atomic<std::uint64_t> others{0};     // devices, pipes, sockets; folders that keep no files
  std::atomic<std::uint64_t> unreadableFolders{0};
  std::atomic<std::uint64_t> unreadableFiles{0};
  std::atomic<std::uint64_t> vanishedFiles{0};
};

// False for a folder of a file system that has no room for files: it only shows what the system knows, as
// /proc and /sys do on Linux, in files without end and such whose reading waits or changes something.
bool KeepsFiles(const std::string& folder);

// Looks through a folder on the threads of a task pool: first which files there are, then at each of them.
// Links are counted, not followed; what comes, goes or changes meanwhile may be found or not, and what cannot
// be read is counted. Below its root it leaves out file systems that keep no files. Stops early when the
// program is interrupted.
class FolderWalk : public dp::ObjectLevelLockable<FolderWalk*> {
 public:
  enum class Phase { kListing, kReading };
  // Called some times a second on the thread of Run.
  using Observer = std::function<void(Phase phase, const WalkCounts& counts)>;

  // `root` is absolute, without a separator at its end unless it is a root of the system.
  explicit FolderWalk(std::string root) : root_(std::move(root)) {}

  // Throws std::bad_alloc.
  void Run(const Observer& observer);

  // By path, and the files of each by name.
  std::list<Folder>& Folders() { return folders_; }
  const WalkCounts& Counts() const { return counts_; }

 private:
  class Listing;
  class Reading;
  class Piece;

  void Begin(const du::SmartPtr<du::Task>& task);
  void End() noexcept;
  void Wait(Phase phase, const Observer& observer);
  void List(const std::string& path);
  void Note(const Folder& folder, FileNote& file, FileContents& contents);
  void NoteVanished(FileNote& file);
  void Sort();

  const std::string root_;
  std::list<Folder> folders_;  // under the lock
  WalkCounts counts_;
  std::atomic<std::size_t> pieces_{0};  // tasks that have not ended
  std::atomic<bool> isOutOfMemory_{false};
  dp::Semaphore idle_;
  du::TaskPool* pool_ = nullptr;
};

}  // namespace lmkutil

#endif
