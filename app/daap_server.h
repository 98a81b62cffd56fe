#pragma once

namespace corvexal {

// The process number in the DAAP server's pid file; 0 when there is none to read.
[[nodiscard]] int daap_server_pid();

// Sends the DAAP server the hang-up signal, by which it learns that its library changed. Nothing happens
// without a server; numbers below 1 name no single process and are never signalled.
void notify_daap_server();

}  // namespace corvexal
