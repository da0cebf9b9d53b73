#include <fmt/format.h>

#include <string_view>

#include "command_line/documents.h"
#include "command_line/option_table.h"

namespace quorin_command {

namespace {

std::string joined(const std::vector<std::string>& texts) { return fmt::format("{}", fmt::join(texts, " ")); }

std::string commandNames() {
  std::vector<std::string> names;
  for (const CommandDefinition& command : commandDefinitions()) {
    names.emplace_back(command.name);
  }
  return joined(names);
}

/// A text between apostrophes, as every shell here takes it.
std::string inApostrophes(std::string_view text) {
  std::string inQuotes = "'";
  for (const char c : text) {
    inQuotes += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return inQuotes + '\'';
}

/// What bash completes behind an option; empty when that is anything.
std::string bashValues(const OptionRow& row) {
  if (!row.choices.empty()) {
    return fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$word\"))", joined(row.choices));
  }
  if (row.takesFolder()) {
    return "compopt -o dirnames";
  }
  return row.takesFile() ? "compopt -o default" : ":";
}

std::string bashCommand(const CommandDefinition& command) {
  std::string names;
  std::string values;
  for (const OptionRow& row : optionTable(command)) {
    names += fmt::format("{}{}", names.empty() ? "" : " ", joined(row.names));
    if (!row.value.empty()) {
      values += fmt::format("        {}) {}; return ;;\n", fmt::join(row.names, "|"), bashValues(row));
    }
  }
  return fmt::format(
      "    {})\n"
      "      case $before in\n"
      "{}"
      "      esac\n"
      "      options='{}' ;;\n",
      command.name, values, names);
}

/// A description within brackets and colons of zsh.
std::string zshText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '[' || c == ']' || c == ':' || c == '\\' ? "\\" : "";
    escaped += c;
  }
  return escaped;
}

std::string zshValue(const OptionRow& row) {
  if (row.value.empty()) {
    return "";
  }
  const std::string action = !row.choices.empty() ? '(' + joined(row.choices) + ')'
                             : row.takesFolder()  ? "_files -/"
                             : row.takesFile()    ? "_files"
                                                  : "";
  return fmt::format(":{}:{}", zshText(row.value), action);
}

std::string zshCommand(const CommandDefinition& command) {
  std::string text = fmt::format("    {})\n      _arguments -s", command.name);
  for (const OptionRow& row : optionTable(command)) {
    for (const std::string& name : row.names) {
      const bool isLong = name.size() > 2;
      const std::string spec = fmt::format("*{}{}[{}]{}", name,
                                           row.value.empty() ? ""
                                           : isLong          ? "="
                                                             : "+",
                                           zshText(row.description), zshValue(row));
      text += " \\\n        " + inApostrophes(spec);
    }
  }
  return text + " \\\n        '*:URI:_files' ;;\n";
}

std::string fishOption(const OptionRow& row, const std::string& condition) {
  std::string line = fmt::format("complete -c quorin -n {}", inApostrophes(condition));
  for (const std::string& name : row.names) {
    line += name.size() > 2 ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!row.choices.empty()) {
    line += " -x -a " + inApostrophes(joined(row.choices));
  } else if (row.takesFolder()) {
    line += " -x -a '(__fish_complete_directories)'";
  } else if (!row.value.empty()) {
    line += row.takesFile() ? " -r -F" : " -x";
  }
  return fmt::format("{} -d {}\n", line, inApostrophes(row.description));
}

}  // namespace

std::string bashCompletion() {
  std::string cases;
  for (const CommandDefinition& command : commandDefinitions()) {
    cases += bashCommand(command);
  }
  const char* const first = commandDefinitions().front().name;
  return fmt::format(
      "# bash completion of quorin\n"
      "_quorin() {{\n"
      "  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} command={} options= i\n"
      "  if [[ $word == = ]]; then word=; elif [[ $before == = ]]; then before=${{COMP_WORDS[COMP_CWORD-2]}}; fi\n"
      "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
      "    case ' {} ' in *\" ${{COMP_WORDS[i]}} \"*) command=${{COMP_WORDS[i]}}; break ;; esac\n"
      "  done\n"
      "  case $command in\n"
      "{}"
      "  esac\n"
      "  if [[ $word == -* ]]; then\n"
      "    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
      "  else\n"
      "    ((COMP_CWORD == 1)) && COMPREPLY=($(compgen -W '{}' -- \"$word\"))\n"
      "    compopt -o default\n"
      "  fi\n"
      "}}\n"
      "complete -o filenames -F _quorin quorin\n",
      first, commandNames(), cases, commandNames());
}

std::string zshCompletion() {
  std::string described;
  std::string cases;
  for (const CommandDefinition& command : commandDefinitions()) {
    described += fmt::format(" {}", inApostrophes(fmt::format("{}:{}", command.name, zshText(command.summary))));
    cases += zshCommand(command);
  }
  return fmt::format(
      "#compdef quorin\n"
      "_quorin() {{\n"
      "  local -a commands=({} )\n"
      "  local command={} word\n"
      "  if (( CURRENT == 2 )) && [[ $PREFIX != -* ]]; then\n"
      "    _describe command commands\n"
      "    _files\n"
      "    return\n"
      "  fi\n"
      "  for word in ${{words[2,CURRENT-1]}}; do\n"
      "    if (( ${{commands[(I)$word:*]}} )); then\n"
      "      command=$word\n"
      "      break\n"
      "    fi\n"
      "  done\n"
      "  case $command in\n"
      "{}"
      "  esac\n"
      "}}\n"
      "_quorin \"$@\"\n",
      described, commandDefinitions().front().name, cases);
}

std::string fishCompletion() {
  const std::string names = commandNames();
  std::string text = "# fish completion of quorin\n";
  for (const CommandDefinition& command : commandDefinitions()) {
    const bool mayBeLeftOut = &command == &commandDefinitions().front();
    text += fmt::format("complete -c quorin -n __fish_use_subcommand -a {} -d {}\n", command.name,
                        inApostrophes(command.summary));
    std::string condition = fmt::format("__fish_seen_subcommand_from {}", command.name);
    if (mayBeLeftOut) {
      condition += fmt::format("; or not __fish_seen_subcommand_from {}", names);
    }
    for (const OptionRow& row : optionTable(command)) {
      text += fishOption(row, condition);
    }
  }
  return text;
}

}  // namespace quorin_command
