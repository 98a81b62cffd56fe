// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/sync_command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "watch/mounts.h"

namespace corvexal {
namespace {

// No signal is blocked or ignored in the new process, and its output is for the log.
class SpawnOptions {
 public:
  SpawnOptions() {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files_, STDERR_FILENO, STDOUT_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGIO);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnOptions() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnOptions(const SpawnOptions&) = delete;
  SpawnOptions& operator=(const SpawnOptions&) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }
  [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

}  // namespace

std::vector<std::string> sync_arguments(const Batch& batch, const std::string& top) {
  std::vector<std::string> arguments{"corvexal-sync", "--quiet", "--accept-refused"};
  for (const Rename& rename : batch.renames)
    arguments.insert(arguments.end(), {"--rename", rename.old_folder, rename.new_folder});
  for (const auto& [folder, extent] : batch.folders)
    if (extent == Extent::kEntries) arguments.insert(arguments.end(), {"--entries", folder});
  for (const std::string& file : batch.unfinished) arguments.insert(arguments.end(), {"--leave", file});
  for (const auto& [folder, extent] : batch.folders)
    if (extent == Extent::kTree && folder != top) arguments.push_back(folder);
  return arguments;
}

SyncCommand::SyncCommand() : program_(real_path("/proc/self/exe")) {
  program_.resize(program_.rfind('/') + 1);
  program_ += "corvexal-sync";
}

int SyncCommand::start(const Batch& batch, const std::string& top) {
  std::vector<std::string> arguments = sync_arguments(batch, top);
  std::vector<char*> pointers(arguments.size() + 1);  // the last one stays null
  std::transform(arguments.begin(), arguments.end(), pointers.begin(),
                 [](std::string& argument) { return argument.data(); });
  const SpawnOptions options;
  const int failure = posix_spawn(&process_, program_.c_str(), options.files(), options.attributes(),
                                  pointers.data(), environ);
  if (failure != 0) process_ = 0;
  return failure;
}

std::optional<int> SyncCommand::ended() {
  int status = 0;
  if (process_ == 0 || waitpid(process_, &status, WNOHANG) != process_) return std::nullopt;
  process_ = 0;
  return status;
}

void SyncCommand::stop() {
  if (process_ == 0) return;
  constexpr timespec kPatience{0, 500'000'000};
  kill(process_, SIGTERM);
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  sigtimedwait(&child, nullptr, &kPatience);
  if (ended()) return;
  kill(process_, SIGKILL);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) continue;
  process_ = 0;
}

}  // namespace corvexal
