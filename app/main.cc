// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <span>

#include "app/run.h"
#include "base/log.h"

namespace {

// A caller may start the program without the three standard streams. Their numbers must not go to a store's
// file.
void claim_standard_streams() {
  for (int descriptor = open("/dev/null", O_RDWR); descriptor >= 0; descriptor = dup(descriptor)) {
    if (descriptor <= 2) continue;
    close(descriptor);
    return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  claim_standard_streams();
  std::signal(SIGCHLD, SIG_DFL);  // a caller that ignores it would hide the detector's end
  std::signal(SIGPIPE, SIG_IGN);  // a caller that stops listening must not stop the run half-way
  try {
    return corvexal::run(std::span<const char* const>(argv, static_cast<std::size_t>(argc)));
  } catch (const std::exception& error) {  // no memory, or a broken installation
    corvexal::error_printf("Corvexal: %s\n", error.what());
    return -1;
  }
}
