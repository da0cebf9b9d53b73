#pragma once

#include <string>
#include <string_view>

namespace quorin_command {

/// Says on standard error, in one line, what is wrong with what.
/// @param subject an item, a file, an option; shown so that it cannot harm a terminal
void complain(std::string_view subject, std::string_view cause);

/// Says on standard error, in one line, what is wrong.
void complain(std::string_view cause);

/// What an errno means, in words that go on in a sentence.
std::string reasonOf(int error);

}  // namespace quorin_command
