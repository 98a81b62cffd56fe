// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/daap_server.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "base/locations.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

TEST(DaapServer, IsSignalledByItsNumberAndNeverAsAGroup) {
  const testing::WorkingFolder folder;
  std::signal(SIGHUP, SIG_DFL);  // nohup has it ignored
  const pid_t server = fork();
  if (server == 0) {
    pause();
    _exit(0);
  }
  setpgid(server, server);
  const std::string number = std::to_string(server);
  for (const std::string& line :
       {std::string(), "\n" + number, "pid " + number, "-" + number, std::string("0")}) {
    folder.write(kDaapPidFile, line + "\n");
    notify_daap_server();
  }
  usleep(20'000);
  EXPECT_EQ(waitpid(server, nullptr, WNOHANG), 0);
  folder.write(kDaapPidFile, "  " + number + " x\n88\n");
  notify_daap_server();
  int status = 0;
  EXPECT_EQ(waitpid(server, &status, 0), server);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP);
}

}  // namespace
}  // namespace corvexal
