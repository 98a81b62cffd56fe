// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "base/descriptor.h"

namespace corvexal {

void tell_service_manager(std::string_view state) {
  const char* variable = std::getenv("NOTIFY_SOCKET");
  const std::string_view name = variable == nullptr ? "" : variable;
  sockaddr_un address{};
  if (name.empty() || name.size() >= sizeof address.sun_path) return;
  address.sun_family = AF_UNIX;
  std::copy(name.begin(), name.end(), address.sun_path);
  if (name[0] == '@') address.sun_path[0] = '\0';  // a name that is in no folder
  const Descriptor socket_to(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  sendto(socket_to.get(), state.data(), state.size(), MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), size);
}

}  // namespace corvexal
