#include "lmkutils/os/testing/fork.h"

#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace os::testing {

int RunForked(int (*child)()) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  // These sanitizers' allocators do not keep their locks across a fork: a child made while another thread
  // allocates may hang in its own first allocation.
  static_cast<void>(child);
  return kForkUnknown;
#else
  const pid_t process = fork();
  if (process == 0) _exit(child());
  int status = 0;
  while (process > 0 && waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return process > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : kForkCrashed;
#endif
}

}  // namespace os::testing
