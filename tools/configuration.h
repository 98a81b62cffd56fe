// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <cstdio>

#include "base/config.h"

namespace corvexal {

// The device's configuration, for a program whose standard output is for its answer only: what there is to
// say about the configuration goes to standard error. A field that cannot be read is empty.
[[nodiscard]] inline ConfigRecord read_configuration(const char* const* argv) {
  ConfigRecord config;
  std::fflush(stdout);
  const int answer = dup(STDOUT_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  readconfig(1, {argv, 1}, config);
  std::fflush(stdout);
  dup2(answer, STDOUT_FILENO);
  close(answer);
  return config;
}

}  // namespace corvexal
