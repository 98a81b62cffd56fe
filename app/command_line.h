// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvexal {

inline constexpr char kUsage[] = "Usage: Corvexal -D|-DD|-C|-S|-R  [-M|-I] directory|filename";

// What --help and --version say after the usage line, which they print as any call does that is no command;
// empty for other words.
[[nodiscard]] const char* text_after_usage(std::string_view word);

enum class Operation { kDelete, kDeleteTree, kCreate, kRename, kSync };

// Which library a run updates: the catalogue (-M), the DAAP server's (-I), or both (no second switch).
enum class Target { kCatalogue, kDaapServer, kBoth };

// What one run is asked to do.
struct Command {
  Operation operation = Operation::kSync;
  Target target = Target::kBoth;
  std::string path;      // empty when not given
  std::string new_path;  // of a rename; empty when not given

  [[nodiscard]] bool updates_catalogue() const { return target != Target::kDaapServer; }
  [[nodiscard]] bool updates_daap_server() const { return target != Target::kCatalogue; }
};

// Reads the arguments, the program's name first. Absent when they ask for the usage line: nothing after the
// first switch, an unknown switch, or a missing path where the operation works on the catalogue: a rename
// needs two, -S none.
[[nodiscard]] std::optional<Command> parse_command_line(std::span<const char* const> arguments);

}  // namespace corvexal
