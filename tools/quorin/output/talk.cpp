#include "output/talk.h"

#include <fmt/format.h>

#include <system_error>

#include "output/display_text.h"
#include "output/output.h"
#include "output/terminal.h"

namespace quorin_command {

void complain(std::string_view subject, std::string_view cause) {
  const std::string shown = subject.empty() ? "''" : displayable(subject, localeIsUtf8());
  writeTalk(fmt::format("quorin: {}: {}\n", shown, displayable(cause, localeIsUtf8())));
}

void complain(std::string_view cause) { writeTalk(fmt::format("quorin: {}\n", displayable(cause, localeIsUtf8()))); }

std::string reasonOf(int error) {
  std::string text = std::generic_category().message(error);
  // "No such file" goes on in lower case, "I/O error" does not.
  if (text.size() > 1 && text[0] >= 'A' && text[0] <= 'Z' && text[1] >= 'a' && text[1] <= 'z') {
    text[0] = static_cast<char>(text[0] - 'A' + 'a');
  }
  return text;
}

}  // namespace quorin_command
