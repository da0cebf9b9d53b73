#pragma once

#include <string>

#include "item/record.h"
#include "output/terminal.h"

namespace quorin_command {

/// A table with one row per item. Every row stands for itself, so that it can be shown as soon as it is known: the
/// columns have fixed widths, and the name comes last, with all the room that is left. A narrow terminal shows fewer
/// columns.
std::string tableHead(const Terminal& terminal);
std::string tableRow(const Record& record, const Terminal& terminal);

}  // namespace quorin_command
