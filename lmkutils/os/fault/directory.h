// For tests: another current directory, or one that cannot be read.
#ifndef LMKUTILS_OS_FAULT_DIRECTORY_H
#define LMKUTILS_OS_FAULT_DIRECTORY_H

#include <cstdint>
#include <string>

#include "lmkutils/os/system_error.h"

namespace os::fault {

// While it lives, CurrentDirectory gives `path`, or fails with `error` when that is not 0. One at a time,
// while no other thread asks.
class PretendCurrentDirectory {
 public:
  explicit PretendCurrentDirectory(std::string path, SystemError error = 0);
  PretendCurrentDirectory(const PretendCurrentDirectory&) = delete;
  PretendCurrentDirectory& operator=(const PretendCurrentDirectory&) = delete;
  ~PretendCurrentDirectory();

  // How often it was asked for.
  unsigned Asked() const noexcept { return asked_; }

 private:
  friend SystemError AnswerCurrentDirectory(std::string& out);

  std::string path_;
  SystemError error_;
  unsigned asked_ = 0;
};

}  // namespace os::fault

#endif
