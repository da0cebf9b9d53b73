#pragma once

#include <string_view>
#include <vector>

#include "command_line/option_groups.h"
#include "command_line/options.h"

namespace quorin_command {

/// What a command is called, what it says of itself, and which options it takes.
struct CommandDefinition {
  Command command;
  const char* name;
  const char* operands;  ///< as the usage line shows them
  const char* summary;   ///< in one line, beginning in lower case
  const char* text;      ///< what the help tells, in lines of at most 80 characters
  std::vector<OptionGroup> groups;
  size_t mostOperands;  ///< 0: any number
};

/// All commands; the first may be left out.
const std::vector<CommandDefinition>& commandDefinitions();

/// Null when no command is called so.
const CommandDefinition* commandNamed(std::string_view name);

/// Whether the operands are items: only then there are options about where items come from.
bool takesItems(const CommandDefinition& command);

/// Defines the options of a command.
void define(const CommandDefinition& command, CLI::App& app, Given& given);

/// Defines the options of all commands together.
void defineAll(CLI::App& app, Given& given);

}  // namespace quorin_command
