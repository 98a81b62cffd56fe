#pragma once

#include <optional>
#include <span>
#include <string>

namespace corvexal {

inline constexpr char kUsage[] = "Usage: Corvexal -D|-DD|-C|-S|-R  [-M|-I] directory|filename";

enum class Operation { kDelete, kDeleteTree, kCreate, kRename, kSync };

// What one run is asked to do. Exactly one of the three target flags is set.
struct Command {
  Operation operation = Operation::kSync;
  bool daap_only = false;       // -I
  bool catalogue_only = false;  // -M
  bool update_both = false;     // no second switch
  std::string path;
  std::string new_path;  // of a rename; empty when not given

  [[nodiscard]] bool updates_catalogue() const { return catalogue_only || update_both; }
  [[nodiscard]] bool updates_daap_server() const { return daap_only || update_both; }
};

// Reads the arguments, the program's name first. Absent when they ask for the usage line: no or an unknown
// first switch, an unknown second one, no path, or a rename with one path only.
[[nodiscard]] std::optional<Command> parse_command_line(std::span<const char* const> arguments);

}  // namespace corvexal
