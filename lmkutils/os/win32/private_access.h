// Access rights for what nobody but its owner shall open. For the sources of this folder only.
#ifndef LMKUTILS_OS_WIN32_PRIVATE_ACCESS_H
#define LMKUTILS_OS_WIN32_PRIVATE_ACCESS_H

#include <windows.h>

namespace os::win32 {

// Attributes for CreateFileW and CreateDirectoryW, valid while it lives: owner, system and administrators may
// do everything, also with what is made in the directory later, others nothing. Null, and with it the rights
// of the folder, when the system cannot make them.
class PrivateAccess {
 public:
  PrivateAccess() noexcept;
  PrivateAccess(const PrivateAccess&) = delete;
  PrivateAccess& operator=(const PrivateAccess&) = delete;
  ~PrivateAccess();

  SECURITY_ATTRIBUTES* Attributes() const noexcept;

 private:
  mutable SECURITY_ATTRIBUTES attributes_{};
};

}  // namespace os::win32

#endif
