#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "output/terminal.h"

namespace quorin_command {

/// What one line says: phrases that are never broken, with blanks between them.
using Phrases = std::vector<std::string>;

/// Puts `separator` behind every phrase but the last.
Phrases listed(Phrases phrases, std::string_view separator);

/// One matter of an item, with a hanging indent where it takes several lines; empty when there is nothing to say.
std::string matter(const Terminal& terminal, std::string_view label, const Phrases& phrases);

}  // namespace quorin_command
