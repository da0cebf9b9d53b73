#include "command_line/option_groups.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "command_line/option_checks.h"

namespace quorin_command {

namespace {

using zu::md::common::quorin::Analyzer;

/// Most redirects from one item that can be asked for.
constexpr unsigned int mostHops = 1000;

/// Most items at once that can be asked for.
constexpr unsigned int mostWorkers = 256;

std::string joined(const std::vector<std::string>& texts, const char* separator) {
  return fmt::format("{}", fmt::join(texts, separator));
}

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

}  // namespace

void defineItemList(CLI::App& app, Given& given) {
  const char* const group = "Items";
  app.add_option("--files-from", given.options.filesFrom,
                 "read more items from FILE ('-': standard input), one per line")
      ->type_name("FILE")
      ->check(isReadableOrStandardInput)
      ->group(group);
  app.add_flag("-0", given.options.nulSeparated, "the names in that list end with a NUL byte, not with the line")
      ->group(group);
}

void defineSources(CLI::App& app, Given& given) {
  const char* const group = "Items";
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

void defineScan(CLI::App& app, Given& given) {
  const char* const group = "Scan";
  given.options.workers = std::clamp(std::thread::hardware_concurrency(), 1U, mostWorkers);
  app.add_option("-j", given.options.workers, "analyse N items at once (default: as many as there are processors)")
      ->type_name("N")
      ->check(CLI::Range(1U, mostWorkers).description(""))
      ->group(group);
  app.add_flag("--ordered", given.options.ordered, "tell items in the order given, and those of a folder by name")
      ->group(group);
  app.add_option("--resume", given.options.resume,
                 "leave out files that FILE, records of an earlier scan, tells already")
      ->type_name("FILE")
      ->check(isReadable)
      ->group(group);
  addChoice<ProgressWish>(
      app, "--progress", given.options.progress,
      "show how far it is; auto: when standard error is a terminal, unless -q is given",
      {{"auto", ProgressWish::Auto}, {"always", ProgressWish::Always}, {"never", ProgressWish::Never}})
      ->group(group);
}

void defineJson(CLI::App& app, Given& given) {
  app.add_flag("--json", given.options.json, "one JSON object per item and line; with play it goes to standard error")
      ->group("Output");
}

void defineOutputFile(CLI::App& app, Given& given) {
  app.add_option("-o", given.options.outputFile, "write to FILE ('-': standard output)")
      ->type_name("FILE")
      ->group("Output");
}

void defineOutputFolder(CLI::App& app, Given& given) {
  app.add_option("-d", given.options.outputFolder, "write the pictures to DIR, called like their items")
      ->type_name("DIR")
      ->check(isFolder)
      ->group("Output");
}

void defineMapPicture(CLI::App& app, Given& given) {
  app.add_option("--svg", given.options.svgFile, "draw the map into FILE ('-': standard output) instead")
      ->type_name("FILE")
      ->group("Output");
}

void defineForce(CLI::App& app, Given& given) {
  app.add_flag("--force", given.options.force, "replace files that are there already")->group("Output");
}

void defineLook(CLI::App& app, Given& given) {
  const char* const group = "Output";
  addChoice<ColorWish>(app, "--color", given.options.color, "colour; auto: at a terminal, unless NO_COLOR is set",
                       {{"auto", ColorWish::Auto}, {"always", ColorWish::Always}, {"never", ColorWish::Never}})
      ->group(group);
  addChoice<uint32_t>(app, "--log", given.options.logLevel, "show the library's own log lines up to this level",
                      {{"error", 3000}, {"info", 4000}, {"verbose", 5000}})
      ->group(group);
}

void defineTalk(CLI::App& app, Given& given) {
  const char* const group = "Output";
  app.add_flag("-q", given.options.quiet,
               "say nothing about what fails, nor the summary of a scan; the exit status tells")
      ->group(group);
  app.add_flag("-v", given.options.verbose,
               "say more on standard error: where redirects lead, what was read of each item, what a live stream plays")
      ->group(group);
}

void defineAnswers(CLI::App& app, Given& given) {
  app.set_help_flag("-h,--help", "print this and exit")->group("Other");
  app.add_flag("--version", given.version, "print the version and exit")->group("Other");
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

}  // namespace quorin_command
