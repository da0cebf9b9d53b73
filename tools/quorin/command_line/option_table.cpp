#include "command_line/option_table.h"

namespace quorin_command {

namespace {

std::vector<std::string> choicesIn(const std::string& value) {
  std::vector<std::string> choices;
  if (value.find('|') == std::string::npos) {
    return choices;
  }
  for (size_t begin = 0; begin <= value.size();) {
    const size_t end = std::min(value.find('|', begin), value.size());
    choices.push_back(value.substr(begin, end - begin));
    begin = end + 1;
  }
  return choices;
}

}  // namespace

std::vector<OptionRow> optionTable(const CommandDefinition& command) {
  CLI::App app;
  Given given;
  define(command, app, given);
  std::vector<OptionRow> rows;
  for (const CLI::Option* const option : app.get_options()) {
    OptionRow row;
    for (const std::string& name : option->get_snames()) {
      row.names.push_back('-' + name);
    }
    for (const std::string& name : option->get_lnames()) {
      row.names.push_back("--" + name);
    }
    row.group = option->get_group();
    row.value = option->get_items_expected_min() > 0 ? option->get_type_name() : std::string();
    row.choices = choicesIn(row.value);
    row.description = option->get_description();
    rows.push_back(row);
  }
  return rows;
}

std::vector<std::string> takersOf(const std::string& name) {
  std::vector<std::string> takers;
  for (const CommandDefinition& command : commandDefinitions()) {
    CLI::App app;
    Given given;
    define(command, app, given);
    if (app.get_option_no_throw(name) != nullptr) {
      takers.emplace_back(command.name);
    }
  }
  return takers;
}

}  // namespace quorin_command
