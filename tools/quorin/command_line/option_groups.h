#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "command_line/options.h"

/// @file
/// Every option of the command, defined once. Commands take them by the group (commands.h).

namespace quorin_command {

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

/// Defines the options of one group. No two groups define the same name.
using OptionGroup = void (*)(CLI::App& app, Given& given);

void defineItemList(CLI::App& app, Given& given);      ///< where further items come from
void defineSources(CLI::App& app, Given& given);       ///< what is looked for, and media
void defineRedirects(CLI::App& app, Given& given);     ///< whether they are followed
void defineNetwork(CLI::App& app, Given& given);       ///< how items are requested
void defineScan(CLI::App& app, Given& given);          ///< how many at once, in which order, what is skipped
void defineJson(CLI::App& app, Given& given);          ///< records for programs
void defineOutputFile(CLI::App& app, Given& given);    ///< where the output goes
void defineOutputFolder(CLI::App& app, Given& given);  ///< where several files go
void defineMapPicture(CLI::App& app, Given& given);    ///< where the drawing of a map goes
void defineForce(CLI::App& app, Given& given);         ///< whether files may be replaced
void defineLook(CLI::App& app, Given& given);          ///< of what is said
void defineTalk(CLI::App& app, Given& given);          ///< how much is said
void defineAnswers(CLI::App& app, Given& given);       ///< what is answered at once: help, version

/// The options that were given, put together.
Options assembled(Given& given, std::vector<std::string> words);

}  // namespace quorin_command
