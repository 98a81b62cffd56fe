// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line.h"

namespace corvexal {
namespace {

std::optional<Operation> operation_of(std::string_view word) {
  constexpr struct {
    std::string_view word;
    Operation operation;
  } kSwitches[] = {{"-D", Operation::kDelete},
                   {"-DD", Operation::kDeleteTree},
                   {"-C", Operation::kCreate},
                   {"-R", Operation::kRename},
                   {"-S", Operation::kSync}};
  for (const auto& known : kSwitches)
    if (word == known.word) return known.operation;
  return std::nullopt;
}

std::optional<Target> target_of(std::string_view word) {
  if (word == "-M") return Target::kCatalogue;
  if (word == "-I") return Target::kDaapServer;
  if (word.starts_with('-')) return std::nullopt;
  return Target::kBoth;
}

std::size_t paths_needed(const Command& command) {
  if (!command.updates_catalogue()) return 0;
  switch (command.operation) {
    case Operation::kSync:
      return 0;
    case Operation::kRename:
      return 2;
    case Operation::kCreate:
    case Operation::kDelete:
    case Operation::kDeleteTree:
      break;
  }
  return 1;
}

constexpr char kHelp[] =
    R"(Brings the media catalogue and the library of the DAAP server up to date with one change on the share.

  -C FILE, -C -M FOLDER  added
  -D FILE                deleted
  -DD FOLDER             deleted with all that it held: drops the rows of every file that is gone
  -R OLD NEW             renamed; of a folder, its files are read anew
  -R -M OLD NEW          renamed; of a folder, only the paths in the catalogue change
  -M                     the catalogue only
  -I                     the DAAP server only
  --help, --version      as the only switch

The exit status is 0, also for a wrong call, or 255 when the run failed. More in Corvexal(1).
)";

}  // namespace

const char* text_after_usage(std::string_view word) {
  if (word == "--help") return kHelp;
  return word == "--version" ? "Corvexal " CORVEXAL_VERSION "\n" : "";
}

std::optional<Command> parse_command_line(std::span<const char* const> arguments) {
  if (arguments.size() < 3) return std::nullopt;
  const std::optional<Operation> operation = operation_of(arguments[1]);
  const std::optional<Target> target = target_of(arguments[2]);
  if (!operation || !target) return std::nullopt;

  Command command{.operation = *operation, .target = *target, .path = {}, .new_path = {}};
  const auto paths = arguments.subspan(*target == Target::kBoth ? 2 : 3);
  if (paths.size() < paths_needed(command)) return std::nullopt;
  if (!paths.empty()) command.path = paths[0];
  if (paths.size() > 1) command.new_path = paths[1];
  return command;
}

}  // namespace corvexal
