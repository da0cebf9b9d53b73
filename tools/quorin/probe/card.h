#pragma once

#include <string>

#include "item/record.h"
#include "output/terminal.h"

namespace quorin_command {

/// What there is to say about one item, in words: a line with its name, then a line for each matter, wrapped to the
/// width of the terminal. Not for an item that could not be opened: there is nothing to say but why.
std::string card(const Record& record, const Terminal& terminal);

/// Its first lines: the name, and where redirects lead.
std::string cardHead(const Record& record, const Terminal& terminal);

}  // namespace quorin_command
