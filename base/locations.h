// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The only place that names the device. CORVEXAL_ROOT is "" in the shipped program; a staged build sets it to
// ".", so that every test run is rooted in its own working folder and two runs meet only at the lock.

namespace corvexal {

inline constexpr char kConfigFile[] = CORVEXAL_ROOT "/etc/upnpav.conf";
inline constexpr char kCodePageFile[] = CORVEXAL_ROOT "/etc/codepage";
inline constexpr char kLogFile[] = CORVEXAL_ROOT "/var/log/MediaServer.log";
inline constexpr char kDaapPidFile[] = CORVEXAL_ROOT "/var/run/mt-daapd.pid";

}  // namespace corvexal
