#pragma once

#include <span>

namespace corvexal {

// One whole run: reads the arguments (the program's name first), takes the lock, opens the catalogue, carries
// out the one operation asked for and leaves both stores complete. Returns the exit status: 0 on success and
// for what only prints the usage or finds no mount path, -1 on failure once the lock is wanted.
int run(std::span<const char* const> arguments);

}  // namespace corvexal
