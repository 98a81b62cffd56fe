#include "app/daap_server.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

class DaapServer : public ::testing::Test {
 protected:
  DaapServer() { std::filesystem::current_path(folder_.path()); }
  ~DaapServer() override { std::filesystem::current_path(before_); }

  void write_pid_file(const std::string& content) const { folder_.write("var/run/mt-daapd.pid", content); }

  std::filesystem::path before_ = std::filesystem::current_path();
  testing::TestFolder folder_;
};

TEST_F(DaapServer, IsKnownByTheFirstLineOfItsPidFile) {
  EXPECT_EQ(daap_server_pid(), 0);
  const struct {
    const char* content;
    int pid;
  } rows[] = {{"1234\n", 1234}, {"  77 x\n88\n", 77}, {"0\n", 0},  {"", 0},
              {"\n12\n", 0},    {"pid 5\n", 0},       {"-9\n", -9}};
  for (const auto& row : rows) {
    write_pid_file(row.content);
    EXPECT_EQ(daap_server_pid(), row.pid) << row.content;
  }
}

TEST_F(DaapServer, GetsTheHangUpSignalItselfAndNeverItsGroup) {
  const pid_t server = fork();
  if (server == 0) {
    pause();
    _exit(0);
  }
  setpgid(server, server);
  write_pid_file(std::to_string(-server) + "\n");
  notify_daap_server();
  usleep(20'000);
  EXPECT_EQ(waitpid(server, nullptr, WNOHANG), 0);

  write_pid_file(std::to_string(server) + "\n");
  notify_daap_server();
  int status = 0;
  EXPECT_EQ(waitpid(server, &status, 0), server);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP);
}

}  // namespace
}  // namespace corvexal
