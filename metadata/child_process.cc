// SPDX-License-Identifier: GPL-3.0-or-later
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
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnOptions() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnOptions(const SpawnOptions&) = delete;
  SpawnOptions& operator=(const SpawnOptions&) = delete;

  // Starts a program, with nothing in its environment but PATH. Returns 0 or an errno value.
  int spawn(std::vector<std::string> command, std::string path, pid_t& id) const {
    std::vector<char*> arguments(command.size() + 1);  // a null pointer ends them
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](std::string& argument) { return argument.data(); });
    path.insert(0, "PATH=");
    char* const environment[] = {path.data(), nullptr};
    return posix_spawn(&id, arguments[0], &files_, &attributes_, arguments.data(), environment);
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

// The parts of PATH that name the same folder wherever the run was started: an empty part and "." would start
// whatever lies in the working folder, which may be on a share.
std::vector<std::string> search_path() {
  const char* const path = std::getenv("PATH");
  std::istringstream parts(path != nullptr ? path : kPathWithoutPath);
  std::vector<std::string> folders;
  for (std::string folder; std::getline(parts, folder, ':');)
    if (folder.starts_with('/')) folders.push_back(folder);
  return folders;
}

std::string joined(const std::vector<std::string>& folders) {
  std::string path;
  for (const std::string& folder : folders) path.append(path.empty() ? "" : ":").append(folder);
  return path;
}

// The file that a program of the folders is; empty when there is none.
std::string file_of(const std::string& program, const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    std::string file = folder;
    file.append("/").append(program);
    struct stat status {};
    if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0)
      return file;
  }
  return {};
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::string& argument, int output,
                           Clock::time_point deadline)
    : deadline_(deadline) {
  const std::vector<std::string> folders = search_path();
  const std::string file = file_of(program, folders), path = joined(folders);
  const SpawnOptions options(output);
  int failure = file.empty() ? ENOENT : options.spawn({file, argument}, path, id_);
  if (failure == ENOEXEC) failure = options.spawn({kShell, file, argument}, path, id_);
  if (failure != 0) id_ = -1;
  is_missing_ = failure == ENOENT;
}

bool ChildProcess::has_ended() const {
  siginfo_t ended{};
  if (id_ < 0) return true;
  return waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid != 0;
}

bool ChildProcess::end() {
  if (id_ < 0) return true;
  const EndOfProcess ended(id_);
  bool in_time = has_ended();
  for (microseconds pause{50}; !in_time && Clock::now() < deadline_; in_time = has_ended()) {
    ended.wait(deadline_, pause);
    pause = std::min(2 * pause, microseconds{20'000});
  }
  kill(-id_, SIGKILL);  // with all that it started
  while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) continue;
  id_ = -1;
  return in_time;
}

}  // namespace corvexal
