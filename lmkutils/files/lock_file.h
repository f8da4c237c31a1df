// A lock between processes: a file that one of them holds.
#ifndef LMKUTILS_FILES_LOCK_FILE_H
#define LMKUTILS_FILES_LOCK_FILE_H

#include <cstdint>

#include "lmkutils/export.h"
#include "lmkutils/text/symbol.h"

namespace os {
enum class File : std::intptr_t;
}  // namespace os

namespace du {

// Coordinates processes, not threads, that name the same file (UTF-8). While a LockFile holds it, no other
// one gets it, whether in another process or in this one, exclusive or not: the file is open for writing,
// which is shared with nobody. The lock goes with its process, however that ends. The file stays, with the
// four bytes "lock" in it.
//
// On Linux the locks are advisory: they hold between processes that use this class. Owned by one thread at a
// time. Failures are told by the results and traced under "LockFile"; nothing throws but std::bad_alloc.
class LMK_API LockFile {
 public:
  LockFile() noexcept;  // not bound
  LockFile(const Symbol& name, unsigned attempts, unsigned pauseMs);
  // A copy is bound to the same file, and holds nothing.
  LockFile(const LockFile& other);
  LockFile& operator=(const LockFile& other);
  ~LockFile();  // releases

  // Releases a held lock, and binds this object to another file: so many attempts to open it (with 0 none
  // succeeds), so many milliseconds between them.
  void Bind(const Symbol& name, unsigned attempts, unsigned pauseMs);

  // True when the lock is held then, also when it was before, whatever `exclusive` says; false when not
  // bound. Ends at once when somebody else has it: attempts are repeated for other reasons only (the folder
  // is missing, access is denied). With `exclusive` a range of the file is locked as well, for programs that
  // look at that.
  bool Lock(bool exclusive);
  // Gives the lock back; false when the system refused a step of it. The lock is not held afterwards, ever.
  bool Release();

  const Symbol& GetFileName() const noexcept { return name_; }
  explicit operator bool() const noexcept { return state_ == State::kHeld; }

 private:
  enum class State { kUnbound = 0, kBound = 1, kHeld = 2 };

  std::uint32_t Open();
  std::uint32_t WriteContents();
  std::uint32_t Obtain();

  os::File handle_;
  std::uint32_t size_ = 0;  // bytes of the file when it was locked
  unsigned attempts_ = 0;
  unsigned pauseMs_ = 0;
  Symbol name_;
  State state_ = State::kUnbound;
  bool exclusive_ = false;
};

}  // namespace du

#endif
