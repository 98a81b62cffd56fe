#include "app/command_line.h"

#include <string_view>

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

}  // namespace

std::optional<Command> parse_command_line(std::span<const char* const> arguments) {
  if (arguments.size() < 3) return std::nullopt;
  const std::optional<Operation> operation = operation_of(arguments[1]);
  if (!operation) return std::nullopt;

  Command command;
  command.operation = *operation;
  const std::string_view target = arguments[2];
  command.daap_only = target == "-I";
  command.catalogue_only = target == "-M";
  command.update_both = !target.starts_with('-');
  if (!command.daap_only && !command.catalogue_only && !command.update_both) return std::nullopt;

  const auto paths = arguments.subspan(command.update_both ? 2 : 3);
  const std::size_t needed = command.operation == Operation::kRename ? 2 : 1;
  if (paths.size() < needed) return std::nullopt;
  command.path = paths[0];
  if (paths.size() > 1) command.new_path = paths[1];
  return command;
}

}  // namespace corvexal
