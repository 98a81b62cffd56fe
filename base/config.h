// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

namespace corvexal {

// The device's configuration. Texts are cut to what the record's fixed fields hold: 255 bytes, 9 for
// sd_status.
struct ConfigRecord {
  std::string sharepath;
  std::string sharename;
  std::string mntpath;  // the folder under which ".systemfile" holds both stores
  std::string sd_status;
  bool standard_tags = false;  // a line "tags=standard": tags are read as their standards say
};

// Reads a configuration file into `record`: mode 1 takes the device's own file, mode 3 the file that
// arguments[2] names when arguments[1] is "-RC". arguments[0] is the program's name, for messages on standard
// output. A line is KEY, one separator character, VALUE, of at most 511 characters; there are no comments,
// white space is kept, a key is found anywhere in a line, and a last line without a line end is ignored.
// Fields whose key is not given keep their value. The line "tags=standard", exactly so, sets standard_tags.
// Returns 0, or -1 when the file cannot be read, a line is too long (earlier lines count) or mode and
// arguments do not fit; errno is that of the reading, 0 otherwise.
int readconfig(int mode, std::span<const char* const> arguments, ConfigRecord& record);

}  // namespace corvexal
