#include "command_line/help.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string_view>

#include "command_line/exit_codes.h"
#include "command_line/option_table.h"

namespace quorin_command {

namespace {

bool mayBeLeftOut(const CommandDefinition& command) { return &command == &commandDefinitions().front(); }

std::string usageLine(const CommandDefinition& command) {
  return fmt::format(mayBeLeftOut(command) ? "quorin [{}] [OPTIONS] {}" : "quorin {} [OPTIONS] {}", command.name,
                     command.operands);
}

/// What fits terminals of any age.
constexpr size_t width = 80;

/// Where the descriptions of options begin.
constexpr size_t descriptionColumn = 32;

/// Words, with blanks or line ends between them.
std::string filled(std::string_view text, size_t indent) {
  std::string lines;
  size_t column = indent;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    if (column > indent && column + 1 + word.size() > width) {
      lines += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (column > indent) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += word.size();
  }
  return lines + '\n';
}

std::string optionLines(const OptionRow& row) {
  const std::string left = fmt::format("  {} {} ", fmt::join(row.names, ", "), row.value);
  const std::string gap(std::max(descriptionColumn, left.size()) - left.size(), ' ');
  return left + gap + filled(row.description, descriptionColumn);
}

/// The options by their groups.
std::string optionsOf(const CommandDefinition& command) {
  std::vector<std::string> groups;
  std::map<std::string, std::string> lines;
  for (const OptionRow& row : optionTable(command)) {
    if (lines[row.group].empty()) {
      groups.push_back(row.group);
    }
    lines[row.group] += optionLines(row);
  }
  std::string text;
  for (const std::string& group : groups) {
    text += fmt::format("\n{}:\n{}", group, lines[group]);
  }
  return text + '\n';
}

std::string otherCommands() {
  std::string text = "\nCommands ('quorin COMMAND --help' tells more):\n";
  for (const CommandDefinition& command : commandDefinitions()) {
    text += fmt::format("  {:<17}{}\n", fmt::format("quorin {}", command.name), command.summary);
  }
  return text;
}

/// As one paragraph.
std::string exitStatusText() {
  std::string text = "Exit status:";
  for (const ExitStatusMeaning& entry : exitStatusMeanings()) {
    const bool last = &entry == &exitStatusMeanings().back();
    text += fmt::format(" {} {}{}", entry.status, entry.meaning, last ? "." : ";");
  }
  return filled(text, 0);
}

}  // namespace

const char* aboutItems() {
  return "A URI is a path, or file:, vdr2://, http:// or https://. A name that begins like\n"
         "a URI but is a file's is taken for the file unless it has '://'; write ./NAME to\n"
         "be sure, also for a file called like a command or '-'. Everything behind '--' is\n"
         "a URI. User and password in a URL show as '***' and go to its server alone.\n";
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

std::string helpCommand(const CommandDefinition& command) {
  return mayBeLeftOut(command) ? "quorin --help" : fmt::format("quorin {} --help", command.name);
}

std::string helpText(const CommandDefinition& command) {
  return "Usage: " + usageLine(command) + "\n\n" + command.text +
         (takesItems(command) ? std::string("\n") + aboutItems() : std::string()) +
         (mayBeLeftOut(command) ? otherCommands() : std::string()) + optionsOf(command) + exitStatusText();
}

}  // namespace quorin_command
