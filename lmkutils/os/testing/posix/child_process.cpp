#include "lmkutils/os/testing/child_process.h"

#include <array>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace os::testing {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const char* what, int error) {
  throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(error));
}

class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) Fail("pipe2", errno);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    CloseWriteEnd();
    close(ends_[0]);
  }
  int ReadEnd() const { return ends_[0]; }
  int WriteEnd() const { return ends_[1]; }
  void CloseWriteEnd() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

// Reads once; false at the end of the stream.
bool ReadSome(int descriptor, std::string& to) {
  std::array<char, 65536> buffer;
  const ssize_t got = read(descriptor, buffer.data(), buffer.size());
  if (got > 0) to.append(buffer.data(), static_cast<std::size_t>(got));
  return got > 0 || (got < 0 && errno == EINTR);
}

bool HasName(const std::string& setting, const std::string& name) {
  return setting.size() > name.size() && setting[name.size()] == '=' && setting.starts_with(name);
}

std::vector<std::string> MergedEnvironment(const Environment& changes) {
  std::vector<std::string> merged;
  for (char** setting = environ; *setting != nullptr; ++setting) merged.emplace_back(*setting);
  for (const auto& [name, value] : changes) {
    std::erase_if(merged, [&](const std::string& setting) { return HasName(setting, name); });
    if (!value.empty()) merged.push_back(name + "=" + value);
  }
  return merged;
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

pid_t Spawn(const std::vector<std::string>& args, const Environment& environment, int out, int err) {
  const std::vector<std::string> settings = MergedEnvironment(environment);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
  pid_t child = 0;
  const int error = posix_spawn(&child, args.at(0).c_str(), &actions, nullptr, Pointers(args).data(),
                                Pointers(settings).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) Fail(args[0].c_str(), error);
  return child;
}

// True when the child has ended; then its status is in `status`.
bool HasEnded(pid_t child, int& status) {
  return waitpid(child, &status, WNOHANG) == child;
}

// Collects both streams until they end, or the child has ended (a grandchild may keep them open), or it is
// too late.
bool CollectUntilEnd(pid_t child, Pipe& out, Pipe& err, ChildResult& result, Clock::time_point end,
                     int& status) {
  std::array<pollfd, 2> ready{pollfd{out.ReadEnd(), POLLIN, 0}, pollfd{err.ReadEnd(), POLLIN, 0}};
  const std::array<std::string*, 2> texts{&result.out, &result.err};
  bool ended = false;
  while (Clock::now() < end) {
    const bool open = ready[0].fd >= 0 || ready[1].fd >= 0;
    if (!open && ended) return true;
    const int count = open ? poll(ready.data(), ready.size(), ended ? 0 : 20) : 0;
    for (std::size_t i = 0; i < ready.size(); ++i) {
      if (count > 0 && ready[i].revents != 0 && !ReadSome(ready[i].fd, *texts[i])) ready[i].fd = -1;
    }
    if (ended && count == 0) return true;
    if (!open) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ended = ended || HasEnded(child, status);
  }
  return ended;
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& args, const Environment& environment,
                     std::chrono::milliseconds limit) {
  Pipe out;
  Pipe err;
  const Clock::time_point end = Clock::now() + limit;
  const pid_t child = Spawn(args, environment, out.WriteEnd(), err.WriteEnd());
  out.CloseWriteEnd();
  err.CloseWriteEnd();
  ChildResult result;
  int status = 0;
  if (!CollectUntilEnd(child, out, err, result, end, status)) {
    result.timedOut = true;
    kill(child, SIGKILL);
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }
  result.crashed = WIFSIGNALED(status) && !result.timedOut;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

std::string SelfPath() {
  return std::filesystem::read_symlink("/proc/self/exe").string();
}

}  // namespace os::testing
