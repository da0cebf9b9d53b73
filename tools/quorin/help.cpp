#include "help.h"

#include <fmt/format.h>

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

const char aboutItems[] =
    "\n"
    "A URI is a path, or file:, vdr2://, http:// or https://. A name that begins like a\n"
    "URI but is a file's is taken for the file unless it has '://'; write ./NAME to be\n"
    "sure, also for a file called like a command or '-'. Everything behind '--' is a URI.\n";

const char aboutExitStatus[] =
    "Exit status: 0 every item was recognised; 1 some failed or were not recognised;\n"
    "2 wrong usage; 3 no item could be opened; 4 output or internal error; 130 SIGINT.\n";

}  // namespace

std::string helpText(const CommandDefinition& command) {
  return "Usage: " + usageLine(command) + "\n\n" + command.text + aboutItems +
         (mayBeLeftOut(command) ? otherCommands() : std::string()) + optionsOf(command) + aboutExitStatus;
}

}  // namespace quorin_command
