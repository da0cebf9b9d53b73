#include "command_line/help.h"

#include <fmt/format.h>

#include "command_line/exit_codes.h"

namespace quorin_command {

namespace {

bool mayBeLeftOut(const CommandDefinition& command) { return &command == &commandDefinitions().front(); }

std::string usageLine(const CommandDefinition& command) {
  return fmt::format(mayBeLeftOut(command) ? "quorin [{}] [OPTIONS] {}" : "quorin {} [OPTIONS] {}", command.name,
                     command.operands);
}

/// The options by their groups.
std::string optionsOf(const CommandDefinition& command) {
  CLI::App app;
  Given given;
  define(command, app, given);
  std::string options = app.help();
  options.erase(0, options.find("\n\n") + 1);  // CLI11's own usage line
  for (size_t gap = 0; (gap = options.find("\n\n\n")) != std::string::npos;) {
    options.erase(gap, 1);  // CLI11 puts two empty lines between groups
  }
  return options;
}

std::string otherCommands() {
  std::string text = "\nCommands ('quorin COMMAND --help' tells more):\n";
  for (const CommandDefinition& command : commandDefinitions()) {
    text += fmt::format("  {:<28}{}\n", fmt::format("quorin {}", command.name), command.summary);
  }
  return text;
}

/// As one paragraph.
std::string exitStatusText() {
  constexpr size_t width = 84;
  std::string text = "Exit status:";
  size_t column = text.size();
  for (const ExitStatusMeaning& entry : exitStatusMeanings()) {
    const bool last = &entry == &exitStatusMeanings().back();
    const std::string phrase = fmt::format(" {} {}{}", entry.status, entry.meaning, last ? "." : ";");
    const bool fits = column + phrase.size() <= width;
    text += fits ? phrase : '\n' + phrase.substr(1);
    column = fits ? column + phrase.size() : phrase.size() - 1;
  }
  return text + '\n';
}

}  // namespace

const char* aboutItems() {
  return "A URI is a path, or file:, vdr2://, http:// or https://. A name that begins like a\n"
         "URI but is a file's is taken for the file unless it has '://'; write ./NAME to be\n"
         "sure, also for a file called like a command or '-'. Everything behind '--' is a URI.\n";
}

const std::vector<ExitStatusMeaning>& exitStatusMeanings() {
  static const std::vector<ExitStatusMeaning> meanings = {
      {EXIT_ALL_RECOGNISED, "every item was recognised"},
      {EXIT_SOME_FAILED, "some failed or were not recognised"},
      {EXIT_USAGE, "wrong usage"},
      {EXIT_ALL_FAILED, "every item failed"},
      {EXIT_OUTPUT, "output or internal error"},
      {EXIT_INTERRUPTED, "SIGINT"},
  };
  return meanings;
}

std::string helpText(const CommandDefinition& command) {
  return "Usage: " + usageLine(command) + "\n\n" + command.text +
         (takesItems(command) ? std::string("\n") + aboutItems() : std::string()) +
         (mayBeLeftOut(command) ? otherCommands() : std::string()) + optionsOf(command) + exitStatusText();
}

}  // namespace quorin_command
