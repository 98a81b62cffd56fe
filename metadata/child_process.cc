#include "metadata/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

namespace corvexal {
namespace {

using std::chrono::microseconds;

constexpr char kShell[] = "/bin/sh";
constexpr char kPathWithoutPath[] = "/bin:/usr/bin";  // as the C library has it

// No input, an output of its own, SIGPIPE as by default, so that a program that goes on printing ends with
// the pipe, and a process group of its own, which can be killed whole.
class SpawnOptions {
 public:
  explicit SpawnOptions(int output) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnOptions() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnOptions(const SpawnOptions&) = delete;
  SpawnOptions& operator=(const SpawnOptions&) = delete;

  // Starts a program, found through PATH unless it has a slash. Returns 0 or an errno value.
  int spawn(std::vector<std::string> command, pid_t& id) const {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    return posix_spawnp(&id, arguments[0], &files_, &attributes_, arguments.data(), environ);
  }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

// A descriptor that can be waited on for the child's end; -1 where the kernel has none (before Linux 5.3).
int open_process(pid_t id) {
#ifdef SYS_pidfd_open
  return static_cast<int>(syscall(SYS_pidfd_open, id, 0));
#else
  static_cast<void>(id);
  return -1;
#endif
}

// A child's end to wait for: asking again and again costs a quarter of a short program's time.
class EndOfProcess {
 public:
  explicit EndOfProcess(pid_t id) : descriptor_(open_process(id)) {}
  ~EndOfProcess() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  EndOfProcess(const EndOfProcess&) = delete;
  EndOfProcess& operator=(const EndOfProcess&) = delete;

  // Waits for it, at most until the deadline; without the kernel's help for the pause.
  void wait(ChildProcess::Clock::time_point deadline, microseconds pause) const {
    if (descriptor_ < 0) return std::this_thread::sleep_for(pause);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - ChildProcess::Clock::now());
    pollfd wanted{descriptor_, POLLIN, 0};
    poll(&wanted, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
  }

 private:
  int descriptor_;
};

// The file that a program of PATH is.
std::string file_of(const std::string& program) {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : kPathWithoutPath);
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::string file = (folder.empty() ? "." : folder) + "/" + program;
    struct stat status {};
    if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0)
      return file;
  }
  return program;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::string& argument, int output,
                           Clock::time_point deadline)
    : deadline_(deadline) {
  const SpawnOptions options(output);
  int failure = options.spawn({program, argument}, id_);
  if (failure == ENOEXEC) failure = options.spawn({kShell, file_of(program), argument}, id_);
  if (failure != 0) id_ = -1;
  is_missing_ = failure == ENOENT;
}

bool ChildProcess::end() {
  const pid_t id = std::exchange(id_, -1);
  if (id < 0) return true;
  const EndOfProcess ended(id);
  for (microseconds pause{50}; Clock::now() < deadline_; pause = std::min(2 * pause, microseconds{20'000})) {
    if (waitpid(id, nullptr, WNOHANG) != 0) return true;
    ended.wait(deadline_, pause);
  }
  kill(-id, SIGKILL);
  while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) continue;
  return false;
}

}  // namespace corvexal
