#include "options.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>

#include "item.h"
#include "nearest.h"
#include "talk.h"

namespace quorin_command {

namespace {

using zu::md::common::quorin::Analyzer;

constexpr std::string_view commands[] = {"probe"};

/// Longest time limit, in seconds, that can be asked for: the host platform takes no longer one.
constexpr double longestTimeLimit = 1e6;

/// Most redirects from one item that can be asked for.
constexpr unsigned int mostHops = 1000;

/// What the options of a command line say before it is put together.
struct Given {
  Options options;
  std::string userAgent;
  std::string caFile;
  std::string proxy;
  std::vector<std::string> headers;
  std::string connectTimeout;
  std::string stallTimeout;
  std::string totalTimeout;
  std::vector<std::string> media;
  bool version = false;
};

std::string joined(const std::vector<std::string>& texts, const char* separator) {
  return fmt::format("{}", fmt::join(texts, separator));
}

/// Seconds, as a decimal number.
const CLI::Validator isTimeLimit(
    [](const std::string& text) {
      double seconds = 0;
      const bool isPlain = text.find_first_not_of("0123456789.") == std::string::npos;
      const auto parsed = std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
      const bool isWhole = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
      return isPlain && isWhole && seconds > 0 && seconds <= longestTimeLimit
                 ? std::string()
                 : fmt::format("'{}' is not a number of seconds above 0 (and up to {})", text, longestTimeLimit);
    },
    "", "time limit");

const CLI::Validator isReadable(
    [](const std::string& path) {
      return ::access(path.c_str(), R_OK) == 0 ? std::string() : fmt::format("'{}': {}", path, reasonOf(errno));
    },
    "", "readable file");

/// A line end in a text that travels in a request would begin a header line of its own.
const CLI::Validator isOneLine(
    [](const std::string& text) {
      const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
      return std::any_of(text.begin(), text.end(), isControl) ? "a control character does not belong there"
                                                              : std::string();
    },
    "", "one line");

/// "NAME: VALUE", with a name as RFC 9110, section 5.6.2 has it.
const CLI::Validator isHeader(
    [](const std::string& text) {
      const size_t colon = text.find(':');
      const size_t end =
          text.find_first_not_of("!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
      return colon == 0 || colon == std::string::npos || end != colon
                 ? fmt::format("'{}' is not of the form 'NAME: VALUE'", text)
                 : std::string();
    },
    "", "header line");

const CLI::Validator isMedium(
    [](const std::string& text) {
      const size_t equals = text.find('=');
      return equals == 0 || equals == std::string::npos || equals + 1 == text.size()
                 ? fmt::format("'{}' is not of the form UUID=DIR", text)
                 : std::string();
    },
    "", "medium");

/// An option whose value is one of a few words, each of which stands for a value.
template <typename Value>
CLI::Option* addChoice(CLI::App& app, const char* name, Value& value, const char* description,
                       const std::vector<std::pair<std::string, Value>>& choices) {
  std::vector<std::string> words;
  words.reserve(choices.size());
  for (const auto& choice : choices) {
    words.push_back(choice.first);
  }
  const auto choose = [&value, choices](const std::string& word) {
    for (const auto& choice : choices) {
      value = choice.first == word ? choice.second : value;
    }
  };
  return app.add_option_function<std::string>(name, choose, description)
      ->type_name(joined(words, "|"))
      ->check(CLI::IsMember(words).description(""));
}

void defineInput(CLI::App& app, Given& given) {
  const char* const group = "Items";
  app.add_option("--files-from", given.options.filesFrom,
                 "read more items from FILE ('-': standard input), one per line")
      ->type_name("FILE")
      ->group(group);
  app.add_flag("-0", given.options.nulSeparated, "the names in that list end with a NUL byte, not with the line")
      ->group(group);
  app.add_option("--medium", given.media, "DIR is the medium UUID of vdr2://UUID/... items (repeatable)")
      ->type_name("UUID=DIR")
      ->take_all()
      ->allow_extra_args(false)
      ->check(isMedium)
      ->group(group);
  addChoice<Analyzer::Mode_t>(app, "--mode", given.options.mode,
                              "what to look for: every audio format, or raw PCM (audio/L16) alone",
                              {{"audio", Analyzer::MODE_AUDIO}, {"pcm", Analyzer::MODE_NONE}})
      ->group(group);
}

void defineRedirects(CLI::App& app, Given& given) {
  const char* const group = "Redirects";
  app.add_option("-f,--follow", given.options.follow,
                 "follow redirects and playlists, up to N from an item (default: 0)")
      ->type_name("N")
      ->check(CLI::Range(0U, mostHops).description(""))
      ->group(group);
  app.add_flag("--allow-local", given.options.allowLocal,
               "follow them also from the network to something on this machine")
      ->group(group);
}

void defineNetwork(CLI::App& app, Given& given) {
  const char* const group = "Network";
  const auto text = [&](const char* name, std::string& value, const char* type, const char* description) {
    return app.add_option(name, value, description)->type_name(type)->group(group);
  };
  text("--timeout", given.totalTimeout, "S", "most seconds that one item may take (default: no limit)")
      ->check(isTimeLimit);
  text("--connect-timeout", given.connectTimeout, "S", "most seconds until a connection stands (default: 10)")
      ->check(isTimeLimit);
  text("--stall-timeout", given.stallTimeout, "S", "most seconds without a byte arriving (default: 15)")
      ->check(isTimeLimit);
  text("--user-agent", given.userAgent, "TEXT", "what to call ourselves")->check(isOneLine);
  text("--cacert", given.caFile, "FILE", "trust the certificates in FILE")->check(isReadable);
  text("--proxy", given.proxy, "URL", "go through this proxy")->check(isOneLine);
  app.add_option("--header", given.headers, "send this header line too (repeatable)")
      ->type_name("'NAME: VALUE'")
      ->take_all()
      ->allow_extra_args(false)
      ->check(isOneLine)
      ->check(isHeader)
      ->group(group);
}

void defineOutput(CLI::App& app, Given& given) {
  const char* const group = "Output";
  app.add_flag("--json", given.options.json, "one JSON object per item and line")->group(group);
  addChoice<ColorWish>(app, "--color", given.options.color, "colour; auto: at a terminal, unless NO_COLOR is set",
                       {{"auto", ColorWish::Auto}, {"always", ColorWish::Always}, {"never", ColorWish::Never}})
      ->group(group);
  addChoice<uint32_t>(app, "--log", given.options.logLevel, "show the library's own log lines up to this level",
                      {{"error", 3000}, {"info", 4000}, {"verbose", 5000}})
      ->group(group);
  app.add_flag("-q", given.options.quiet, "say nothing about items that fail; the exit status tells")->group(group);
}

void define(CLI::App& app, Given& given) {
  app.option_defaults()->take_last();
  defineInput(app, given);
  defineRedirects(app, given);
  defineNetwork(app, given);
  defineOutput(app, given);
  app.set_help_flag("-h,--help", "print this and exit")->group("Other");
  app.add_flag("--version", given.version, "print the version and exit")->group("Other");
}

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

std::string helpText(const CLI::App& app) {
  std::string options = app.help();
  options.erase(0, options.find("\nItems:"));
  for (size_t gap = 0; (gap = options.find("\n\n\n")) != std::string::npos;) {
    options.erase(gap, 1);  // CLI11 puts two empty lines between groups
  }
  return "Usage: quorin [probe] [OPTIONS] URI...\n"
         "\n"
         "Tells what is behind each URI: an audio stream of which format, how long it is,\n"
         "where its data lies, what a player may do with it. One item gives a card, several\n"
         "give a table.\n"
         "\n"
         "A URI is a path, or file:, vdr2://, http:// or https://. A name that begins like a\n"
         "URI but is a file's is taken for the file unless it has '://'; write ./NAME to be\n"
         "sure, also for a file called 'probe' or '-'. Everything behind '--' is a URI.\n" +
         options +
         "Exit status: 0 every item was recognised; 1 some failed or were not recognised;\n"
         "2 wrong usage; 3 no item could be opened; 4 output or internal error; 130 SIGINT.\n";
}

bool isCommand(std::string_view word) {
  return std::find(std::begin(commands), std::end(commands), word) != std::end(commands);
}

/// What a bare word that names no file was perhaps meant to be; empty when it looks like nothing that is known.
std::string suggestionFor(const std::string& word) {
  std::vector<std::string_view> known(std::begin(commands), std::end(commands));
  known.insert(known.end(), {"help", "version"});
  const bool isBare = word.find_first_of("/.:") == std::string::npos;
  const std::string_view meant = isBare && !isFile(word) ? nearest(word, known) : std::string_view();
  if (meant.empty()) {
    return std::string();
  }
  return fmt::format("quorin {}{}", isCommand(meant) ? "" : "--", meant);
}

/// Takes the command off the words. There is but one so far, and it may be left out.
/// @return what is wrong, if anything
std::string takeCommand(Sorted& sorted) {
  if (!sorted.firstWordMayBeCommand) {
    return std::string();
  }
  const std::string first = sorted.words.front();
  if (isCommand(first)) {
    sorted.words.erase(sorted.words.begin());
    return std::string();
  }
  const std::string suggestion = suggestionFor(first);
  return suggestion.empty()
             ? suggestion
             : fmt::format("'{}' is neither a command nor a file; did you mean '{}'?", first, suggestion);
}

std::string unknownOption(const CLI::App& app, const std::string& argument) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
  const std::string name = argument.substr(0, argument.find('='));
  const std::string_view meant = nearest(name, {names.begin(), names.end()});
  return fmt::format("there is no option {}{}", name, meant.empty() ? "" : fmt::format("; did you mean {}?", meant));
}

Options assembled(Given& given, std::vector<std::string> words) {
  std::vector<std::string> limits;
  const auto addLimit = [&](const char* name, const std::string& seconds) {
    if (!seconds.empty()) {
      limits.push_back(fmt::format("{}={}", name, seconds));
    }
  };
  addLimit("connect", given.connectTimeout);
  addLimit("stall", given.stallTimeout);
  addLimit("total", given.totalTimeout);
  Options options = std::move(given.options);
  options.words = std::move(words);
  options.open.options = {given.userAgent, given.caFile, given.proxy, joined(given.headers, "\n"), joined(limits, ";")};
  for (const std::string& medium : given.media) {
    const size_t equals = medium.find('=');
    options.media.push_back({medium.substr(0, equals), medium.substr(equals + 1)});
  }
  return options;
}

}  // namespace

std::variant<Options, Answer, UsageError> parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App app;
  Given given;
  define(app, given);
  Sorted sorted = sortedArguments(app, arguments);
  try {
    // CLI11 takes them from the end.
    app.parse(std::vector<std::string>(sorted.options.rbegin(), sorted.options.rend()));
  } catch (const CLI::CallForHelp&) {
    return Answer{helpText(app)};
  } catch (const CLI::ExtrasError&) {
    return UsageError{unknownOption(app, app.remaining().front())};
  } catch (const CLI::ParseError& error) {
    return UsageError{sorted.error.empty() ? error.what() : sorted.error};
  }
  if (!sorted.error.empty()) {
    return UsageError{sorted.error};
  }
  if (given.version) {
    return Answer{"quorin " QUORIN_VERSION "\n"};
  }
  if (const std::string wrong = takeCommand(sorted); !wrong.empty()) {
    return UsageError{wrong};
  }
  if (sorted.words.empty() && given.options.filesFrom.empty()) {
    return UsageError{"no item is given"};
  }
  if (given.options.nulSeparated && given.options.filesFrom.empty()) {
    return UsageError{"-0 needs --files-from"};
  }
  if (given.options.allowLocal && given.options.follow == 0) {
    return UsageError{"--allow-local needs --follow"};
  }
  return assembled(given, std::move(sorted.words));
}

}  // namespace quorin_command
