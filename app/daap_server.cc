// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/daap_server.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "base/locations.h"
#include "base/stream.h"
#include "base/text.h"

namespace corvexal {
namespace {

// Whoever may write the file chooses the process that is signalled.
bool is_trusted(std::FILE* file) {
  struct stat status {};
  return fstat(fileno(file), &status) == 0 && (status.st_uid == 0 || status.st_uid == geteuid());
}

// 0 when there is none to read or to believe.
int daap_server_pid() {
  const Stream file = open_for_reading(kDaapPidFile);
  char line[1024] = "";
  if (!file || !is_trusted(file.get()) || std::fgets(line, sizeof line, file.get()) == nullptr) return 0;
  return decimal_value(line);
}

}  // namespace

void notify_daap_server() {
  const int pid = daap_server_pid();
  if (pid > 1 && pid != getpid()) kill(pid, SIGHUP);
}

}  // namespace corvexal
