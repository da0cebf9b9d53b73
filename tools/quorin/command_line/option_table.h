#pragma once

#include <string>
#include <vector>

#include "command_line/commands.h"

namespace quorin_command {

/// One option as documents and completions show it.
struct OptionRow {
  std::vector<std::string> names;  ///< with their dashes
  std::string group;
  std::string value;                 ///< what its value is called; empty when it takes none
  std::vector<std::string> choices;  ///< the words that the value may be; empty when it may be more
  std::string description;

  bool takesFile() const { return value == "FILE"; }
  bool takesFolder() const { return value == "DIR"; }
};

/// The options of a command in the order of their definition.
std::vector<OptionRow> optionTable(const CommandDefinition& command);

/// The names of the commands that take an option.
/// @param name of the option, with its dashes
std::vector<std::string> takersOf(const std::string& name);

}  // namespace quorin_command
