#pragma once

#include <string>
#include <vector>

#include "command_line/commands.h"

namespace quorin_command {

/// What an item is, in lines of at most 80 characters.
const char* aboutItems();

/// What an exit status says.
struct ExitStatusMeaning {
  int status;
  const char* meaning;
};
const std::vector<ExitStatusMeaning>& exitStatusMeanings();

/// What --help prints.
std::string helpText(const CommandDefinition& command);

/// The command line that prints it.
std::string helpCommand(const CommandDefinition& command);

}  // namespace quorin_command
