// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace corvexal {

// Sends the DAAP server, which its pid file names, the hang-up signal, by which it learns that its library
// changed. Nothing happens without a server; numbers below 1 name no single process and are never signalled.
void notify_daap_server();

}  // namespace corvexal
