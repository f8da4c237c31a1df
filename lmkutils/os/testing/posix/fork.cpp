#include "lmkutils/os/testing/fork.h"

#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace os::testing {

int RunForked(int (*child)()) {
  const pid_t process = fork();
  if (process == 0) _exit(child());
  int status = 0;
  while (process > 0 && waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return process > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : kForkCrashed;
}

}  // namespace os::testing
