// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "watch/batch.h"

namespace corvexal {

// The arguments of the sync for a batch of the share `top`, the program's name first:
//   corvexal-sync --quiet --accept-refused [--rename OLD NEW]... [--entries FOLDER]... [--leave FILE]...
//   [FOLDER]...
// Without a FOLDER and without --entries it brings the whole share in line.
[[nodiscard]] std::vector<std::string> sync_arguments(const Batch& batch, const std::string& top);

// A start of the sync in a process of its own, so that its memory and its faults stay there.
class SyncCommand {
 public:
  // The sync is the program `corvexal-sync` beside this one.
  SyncCommand();

  [[nodiscard]] const std::string& program() const { return program_; }
  [[nodiscard]] bool is_running() const { return process_ > 0; }

  // Starts the sync; 0, or the error number. Its output goes to standard error.
  [[nodiscard]] int start(const Batch& batch, const std::string& top);

  // What the process that was started ended with, as waitpid(2) has it; nothing while it runs. Does not wait.
  [[nodiscard]] std::optional<int> ended();

  // Ends a running process: asks it to, and kills it when it has not ended after half a second. Nothing is
  // lost but the work of that process since its last commit.
  void stop();

 private:
  std::string program_;
  pid_t process_ = 0;
};

}  // namespace corvexal
