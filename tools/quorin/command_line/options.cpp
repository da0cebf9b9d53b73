#include "command_line/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string_view>

#include "command_line/commands.h"
#include "command_line/help.h"
#include "command_line/nearest.h"
#include "command_line/option_table.h"
#include "item/item.h"

namespace quorin_command {

namespace {

/// Arguments sorted into options with their values, and words.
struct Sorted {
  std::vector<std::string> options;
  std::vector<std::string> words;
  bool firstWordMayBeCommand = false;
  std::string error;  ///< what is wrong, if anything
};

bool takesValue(const CLI::Option& option) { return option.get_items_expected_min() > 0; }

const CLI::Option* find(const CLI::App& app, const std::string& name) { return app.get_option_no_throw(name); }

/// Whether the value of the last option in `argument` is the argument that follows. Reports what is wrong in `error`.
bool wantsNext(const CLI::App& app, const std::string& argument, std::string& error) {
  if (argument[1] != '-') {  // a cluster: flags, then perhaps an option with its value attached
    for (size_t i = 1; i < argument.size(); ++i) {
      const CLI::Option* const option = find(app, {'-', argument[i]});
      if (option == nullptr || takesValue(*option)) {
        return option != nullptr && i + 1 == argument.size();
      }
    }
    return false;
  }
  const size_t equals = argument.find('=');
  const std::string name = argument.substr(0, equals);
  const CLI::Option* const option = find(app, name);
  if (option == nullptr || equals == std::string::npos) {
    return option != nullptr && takesValue(*option);
  }
  if (!takesValue(*option)) {
    error = name + " takes no value";
  } else if (equals + 1 == argument.size()) {
    error = name + " needs a value";
  }
  return false;
}

/// The sorting is ours and not CLI11's, because only the first word may be a command, and because a list of words is
/// more to CLI11 than its elements: "[a,b]" would be two items.
Sorted sortedArguments(const CLI::App& app, const std::vector<std::string>& arguments) {
  Sorted result;
  for (size_t i = 0; i < arguments.size() && result.error.empty(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--") {
      result.words.insert(result.words.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
      break;
    }
    if (argument.size() < 2 || argument.front() != '-') {
      result.firstWordMayBeCommand |= result.words.empty();
      result.words.push_back(argument);
      continue;
    }
    result.options.push_back(argument);
    if (!wantsNext(app, argument, result.error)) {
      continue;
    }
    if (i + 1 == arguments.size()) {
      result.error = argument + " needs a value";
      break;
    }
    result.options.push_back(arguments[++i]);
  }
  return result;
}

/// What a bare word that names no file was perhaps meant to be; empty when it looks like nothing that is known.
std::string suggestionFor(const std::string& word) {
  std::vector<std::string_view> known = {"help", "version"};
  for (const CommandDefinition& command : commandDefinitions()) {
    known.emplace_back(command.name);
  }
  const bool isBare = word.find_first_of("/.:") == std::string::npos;
  const std::string_view meant = isBare && !isFile(word) ? nearest(word, known) : std::string_view();
  if (meant.empty()) {
    return std::string();
  }
  return fmt::format("quorin {}{}", commandNamed(meant) != nullptr ? "" : "--", meant);
}

/// Takes the command off the words; where none is named it is the first of all.
/// @return what is wrong, if anything
std::string takeCommand(Sorted& sorted, const CommandDefinition*& command) {
  command = &commandDefinitions().front();
  if (!sorted.firstWordMayBeCommand) {
    return std::string();
  }
  const std::string first = sorted.words.front();
  if (const CommandDefinition* const named = commandNamed(first)) {
    command = named;
    sorted.words.erase(sorted.words.begin());
    return std::string();
  }
  const std::string suggestion = suggestionFor(first);
  return suggestion.empty()
             ? suggestion
             : fmt::format("'{}' is neither a command nor a file; did you mean '{}'?", first, suggestion);
}

/// @param every the options of all commands
/// @param taken those of the command
std::string unknownOption(const CLI::App& every, const CLI::App& taken, const CommandDefinition& command,
                          const std::string& argument) {
  const bool isLong = argument[1] == '-';
  const std::string name = isLong ? argument.substr(0, argument.find('=')) : argument.substr(0, 2);
  if (find(every, name) != nullptr) {
    return fmt::format("'{}' takes no option {}; it is for {}", command.name, name, fmt::join(takersOf(name), ", "));
  }
  std::vector<std::string> names;
  for (const CLI::Option* option : taken.get_options()) {
    for (const std::string& longName : option->get_lnames()) {
      names.push_back("--" + longName);
    }
  }
  const std::string_view meant = nearest(name, {names.begin(), names.end()});
  return fmt::format("there is no option {}{}", name, meant.empty() ? "" : fmt::format("; did you mean {}?", meant));
}

/// What the options and words have to do with each other.
/// @return what is wrong, if anything
std::string whatDoesNotFit(const Options& options, const CommandDefinition& command) {
  const bool isCover = options.command == Command::Cover;
  if (options.words.empty() && options.filesFrom.empty()) {
    return takesItems(command) ? "no item is given" : "no scan is given";
  }
  if (command.mostOperands != 0 && options.words.size() > command.mostOperands) {
    return fmt::format("'{}' takes one {}", command.name, takesItems(command) ? "item" : "scan");
  }
  if (options.nulSeparated && options.filesFrom.empty()) {
    return "-0 needs --files-from";
  }
  if (options.allowLocal && options.follow == 0) {
    return "--allow-local needs --follow";
  }
  if (isCover && options.outputFile.empty() == options.outputFolder.empty()) {
    return "'cover' needs one of -o and -d";
  }
  if (options.json && (options.outputFile == "-" || options.svgFile == "-")) {
    return fmt::format("--json and {} - both write to standard output", isCover ? "-o" : "--svg");
  }
  const bool writesBytes = options.command == Command::Play || (isCover && options.outputFile == "-");
  if (writesBytes && standardOutputIsTerminal()) {
    return fmt::format("a terminal cannot show {}; send standard output to a file or a program",
                       isCover ? "a picture" : "sound");
  }
  if (options.quiet && options.verbose) {
    return "-q and -v do not go together";
  }
  if (isCover && !options.outputFile.empty() && (options.words.size() > 1 || !options.filesFrom.empty())) {
    return "-o is for a single item; -d takes several";
  }
  if (options.command == Command::Map && options.force && options.svgFile.empty()) {
    return "--force needs --svg";
  }
  if (options.command == Command::Report && options.outputFile.empty()) {
    return "'report' needs -o";
  }
  return std::string();
}

}  // namespace

std::variant<Options, Answer, UsageError> parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App every;
  Given nothing;
  defineAll(every, nothing);
  Sorted sorted = sortedArguments(every, arguments);
  const CommandDefinition* command = nullptr;
  const std::string wrongCommand = takeCommand(sorted, command);
  CLI::App app;
  app.option_defaults()->take_last();
  Given given;
  const auto wrongUsage = [command](const std::string& cause) { return UsageError{cause, helpCommand(*command)}; };
  define(*command, app, given);
  try {
    // CLI11 takes them from the end.
    app.parse(std::vector<std::string>(sorted.options.rbegin(), sorted.options.rend()));
  } catch (const CLI::CallForHelp&) {
    return Answer{helpText(*command)};
  } catch (const CLI::ExtrasError&) {
    return wrongUsage(unknownOption(every, app, *command, app.remaining().front()));
  } catch (const CLI::ParseError& error) {
    return wrongUsage(sorted.error.empty() ? error.what() : sorted.error);
  }
  if (!sorted.error.empty()) {
    return wrongUsage(sorted.error);
  }
  if (given.version) {
    return Answer{"quorin " QUORIN_VERSION "\n"};
  }
  Options options = assembled(given, std::move(sorted.words));
  options.command = command->command;
  const std::string wrong = wrongCommand.empty() ? whatDoesNotFit(options, *command) : wrongCommand;
  return wrong.empty() ? std::variant<Options, Answer, UsageError>(std::move(options)) : wrongUsage(wrong);
}

}  // namespace quorin_command
