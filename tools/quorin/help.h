#pragma once

#include <string>

#include "commands.h"

namespace quorin_command {

/// What --help prints.
std::string helpText(const CommandDefinition& command);

}  // namespace quorin_command
