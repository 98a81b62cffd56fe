// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/service_manager.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstddef>
#include <cstdlib>

#include "base/descriptor.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

// A datagram socket of the name in NOTIFY_SOCKET's form; what comes first there is what is returned.
std::string told_to(const std::string& name) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path, sizeof address.sun_path);
  if (name[0] == '@') address.sun_path[0] = '\0';
  const Descriptor manager(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  if (bind(manager.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0) return "no socket";
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  tell_service_manager("READY=1");
  unsetenv("NOTIFY_SOCKET");
  tell_service_manager("to nobody");
  std::array<char, 100> text;
  const ssize_t length = recv(manager.get(), text.data(), text.size(), 0);
  return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

TEST(ServiceManager, IsToldThroughItsSocket) {
  const testing::TestFolder folder;
  EXPECT_EQ(told_to(folder.path() + "/notify"), "READY=1");
  EXPECT_EQ(told_to("@" + folder.path()), "READY=1");
}

}  // namespace
}  // namespace corvexal
