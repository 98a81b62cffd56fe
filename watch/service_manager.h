// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace corvexal {

// Sends a state, such as "READY=1", to the service manager that started this process, by the protocol of
// sd_notify(3). Does nothing without one.
void tell_service_manager(std::string_view state);

}  // namespace corvexal
