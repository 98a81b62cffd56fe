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
#include <initializer_list>
#include <sstream>
#include <thread>
#include <vector>

#include "base/descriptor.h"

namespace corvexal {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

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

  // Starts a program with the given arguments, which a null pointer ends, the first one its file, and nothing
  // in its environment but PATH. Returns 0 or an errno value.
  int spawn(std::initializer_list<const char*> arguments, std::string path, pid_t& id) const {
    path.insert(0, "PATH=");
    char* const environment[] = {path.data(), nullptr};
    return posix_spawn(&id, *arguments.begin(), &files_, &attributes_,
                       const_cast<char* const*>(arguments.begin()), environment);
  }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

// What a child's end can be waited on by: asking again and again costs a quarter of a short program's time.
// Empty where the kernel has no such thing (before Linux 5.3).
Descriptor open_process([[maybe_unused]] pid_t id) {
#ifdef SYS_pidfd_open
  return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
#else
  return {};
#endif
}

// Waits for the process's end, at most until the deadline; without the kernel's help for the pause.
void wait_for_end(const Descriptor& process, ChildProcess::Clock::time_point deadline, microseconds pause) {
  if (!process) return std::this_thread::sleep_for(pause);
  const auto left = std::chrono::ceil<milliseconds>(deadline - ChildProcess::Clock::now());
  pollfd wanted{process.get(), POLLIN, 0};
  poll(&wanted, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
}

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
  int failure = file.empty() ? ENOENT : options.spawn({file.c_str(), argument.c_str(), nullptr}, path, id_);
  if (failure == ENOEXEC)
    failure = options.spawn({kShell, file.c_str(), argument.c_str(), nullptr}, path, id_);
  if (failure != 0) id_ = kNone;
  is_missing_ = failure == ENOENT;
}

bool ChildProcess::has_ended() const {
  siginfo_t ended{};
  if (id_ == kNone) return true;
  waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT);
  return ended.si_pid != 0;
}

bool ChildProcess::end() {
  if (id_ == kNone) return true;
  const Descriptor process = open_process(id_);
  bool in_time = has_ended();
  for (microseconds pause{50}; !in_time && Clock::now() < deadline_; in_time = has_ended()) {
    wait_for_end(process, deadline_, pause);
    pause = std::min(2 * pause, microseconds{20'000});
  }
  kill(-id_, SIGKILL);  // with all that it started
  while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) continue;
  id_ = kNone;
  return in_time;
}

}  // namespace corvexal
