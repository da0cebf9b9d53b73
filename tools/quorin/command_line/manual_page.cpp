#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "command_line/documents.h"
#include "command_line/help.h"
#include "command_line/option_table.h"

namespace quorin_command {

namespace {

/// Text as roff takes it literally: a dash is a minus sign that can be searched for, and a dot or an apostrophe at the
/// start of a line is no macro.
std::string roff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const bool atLineStart = escaped.empty() || escaped.back() == '\n';
    escaped += atLineStart && (c == '.' || c == '\'') ? "\\&" : "";
    escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return escaped;
}

std::string synopsis() {
  std::string text;
  for (const CommandDefinition& command : commandDefinitions()) {
    const bool first = &command == &commandDefinitions().front();
    text += fmt::format(".br\n.B quorin {}\n[\\fIOPTIONS\\fR] {}\n",
                        first ? fmt::format("\\fR[\\fB{}\\fR]", command.name) : command.name, roff(command.operands));
  }
  return text;
}

std::string optionEntry(const OptionRow& row) {
  std::string names;
  for (const std::string& name : row.names) {
    names += (names.empty() ? "\\fB" : "\\fR, \\fB") + roff(name);
  }
  const std::string value = row.value.empty() ? "" : " \\fI" + roff(row.value);
  return fmt::format(".TP\n{}{}\\fR\n{}\n", names, value, roff(row.description));
}

/// Which commands take an option, unless all do.
std::string takers(const OptionRow& row) {
  const std::vector<std::string> names = takersOf(row.names.front());
  return names.size() == commandDefinitions().size() ? "" : fmt::format("({})\n", fmt::join(names, ", "));
}

/// Every option once, by its group.
std::string allOptions() {
  std::vector<OptionRow> rows;
  std::vector<std::string> groups;
  for (const CommandDefinition& command : commandDefinitions()) {
    for (const OptionRow& row : optionTable(command)) {
      if (std::none_of(rows.begin(), rows.end(), [&row](const OptionRow& r) { return r.names == row.names; })) {
        rows.push_back(row);
      }
      if (std::find(groups.begin(), groups.end(), row.group) == groups.end()) {
        groups.push_back(row.group);
      }
    }
  }
  std::string text;
  for (const std::string& group : groups) {
    text += fmt::format(".SS {}\n", group);
    for (const OptionRow& row : rows) {
      text += row.group == group ? optionEntry(row) + takers(row) : "";
    }
  }
  return text;
}

std::string exitStatusEntries() {
  std::string text;
  for (const ExitStatusMeaning& entry : exitStatusMeanings()) {
    text += fmt::format(".TP\n.B {}\n{}\n", entry.status, roff(entry.meaning));
  }
  return text +
         ".PP\nA file that is there already is met in two ways. With cover and map it is the "
         "item\nthat has failed (1 or 3), and the next one comes. A report has no items, so that is an output error "
         "(4).\nAny other failure to write ends the program at once (4). What is being read is never replaced (4).\n";
}

std::string commandTexts() {
  std::string text;
  for (const CommandDefinition& command : commandDefinitions()) {
    text += fmt::format(".SS quorin {} {}\n{}", command.name, roff(command.operands), roff(command.text));
  }
  return text;
}

}  // namespace

std::string manualPage() {
  return ".TH QUORIN 1 \"\" \"quorin " QUORIN_VERSION
         "\" \"User Commands\"\n"
         ".SH NAME\nquorin \\- tell what is behind a path or an address of audio\n"
         ".SH SYNOPSIS\n" +
         synopsis() + ".SH DESCRIPTION\n" + roff(aboutItems()) + ".SH COMMANDS\n" + commandTexts() + ".SH OPTIONS\n" +
         allOptions() + ".SH EXIT STATUS\n" + exitStatusEntries() +
         ".SH ENVIRONMENT\n"
         ".TP\n.B NO_COLOR\nif set and not empty, no colour\n"
         ".TP\n.B CLICOLOR_FORCE\nif set and neither empty nor 0, colour also where no terminal is\n"
         ".TP\n.B OBQ_DEBUG\na number: presets the level up to which the debug output of all modules is shown\n";
}

}  // namespace quorin_command
