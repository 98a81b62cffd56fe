#include "app/daap_server.h"

#include <csignal>
#include <cstdio>

#include "base/locations.h"
#include "base/stream.h"
#include "base/text.h"

namespace corvexal {
namespace {

// 0 when there is none to read.
int daap_server_pid() {
  const Stream file = open_for_reading(kDaapPidFile);
  char line[1024] = "";
  if (!file || std::fgets(line, sizeof line, file.get()) == nullptr) return 0;
  return decimal_value(line);
}

}  // namespace

void notify_daap_server() {
  const int pid = daap_server_pid();
  if (pid > 0) kill(pid, SIGHUP);
}

}  // namespace corvexal
