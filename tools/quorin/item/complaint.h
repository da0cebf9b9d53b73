#pragma once

#include "item/record.h"

namespace quorin_command {

/// Says on standard error what is wrong with an item, and which redirects led to where the trouble is.
void complainAbout(const Record& record);

}  // namespace quorin_command
