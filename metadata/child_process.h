// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace corvexal {

// A program of the device that runs beside this one, for a limited time.
class ChildProcess {
 public:
  using Clock = std::chrono::steady_clock;

  // Starts the program, found through the absolute parts of PATH, with one argument and no other environment.
  // Its input is empty, its output the descriptor.
  // A script that names no interpreter in its first line is run by /bin/sh.
  ChildProcess(const std::string& program, const std::string& argument, int output,
               Clock::time_point deadline);
  ~ChildProcess() { end(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // True when there is no such program.
  [[nodiscard]] bool is_missing() const { return is_missing_; }

  // True once the program itself has ended, whatever it left running.
  [[nodiscard]] bool has_ended() const;

  // Waits for the program's end and kills what it left running. False when it outlived the deadline and was
  // killed, too.
  bool end();

 private:
  static constexpr pid_t kNone = -1;
  pid_t id_ = kNone;
  bool is_missing_ = false;
  Clock::time_point deadline_;
};

}  // namespace corvexal
