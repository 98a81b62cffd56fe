// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

namespace corvexal {

// One whole run: reads the arguments (the program's name first), takes the lock, opens the catalogue, carries
// out the one operation asked for and leaves both stores complete. Returns the exit status: 0 on success, for
// arguments that only print the usage, and when no mount path is configured; -1 on any failure from the lock
// on, and for -S, which has no operation.
int run(std::span<const char* const> arguments);

}  // namespace corvexal
