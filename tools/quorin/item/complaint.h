#pragma once

#include "item/record.h"

namespace quorin_command {

/// Says on standard error what is wrong with an item, and which redirects led to where the trouble is.
void complainAbout(const Record& record);

/// Says on standard error where the redirects of an item led, what it is and what that has cost.
void tellMoreAbout(const Record& record);

}  // namespace quorin_command
