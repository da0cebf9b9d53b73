#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "output/terminal.h"
#include "quorin/analyzer.h"
#include "strell/strell.h"

namespace quorin_command {

/// A medium for vdr2:// URIs.
struct Medium {
  std::string uuid;
  std::string directory;
};

enum class Command { Probe, Scan, Cover, Map, Play, Report };

/// When progress is shown.
enum class ProgressWish { Auto, Always, Never };

/// A command line, understood and checked.
struct Options {
  Command command = Command::Probe;
  std::vector<std::string> words;  ///< the items
  std::string filesFrom;           ///< list of further items; "-": standard input
  bool nulSeparated = false;       ///< what separates the names in that list
  zu::md::common::quorin::Analyzer::Mode_t mode = zu::md::common::quorin::Analyzer::MODE_AUDIO;
  zu::md::common::strell::OpenParams open;  ///< how items are opened; without URI
  std::vector<Medium> media;
  unsigned int follow = 0;   ///< most redirects that are followed from one item
  bool allowLocal = false;   ///< whether the network may redirect to something local
  std::string outputFile;    ///< where to write; empty: not given
  std::string outputFolder;  ///< where to write files; empty: not given
  std::string svgFile;       ///< where to draw a map; empty: not given
  bool force = false;        ///< whether files that are there already may be replaced
  unsigned int workers = 1;  ///< of a scan
  bool ordered = false;      ///< whether a scan tells items in the order in which it finds them
  std::string resume;        ///< records of an earlier scan; empty: none
  ProgressWish progress = ProgressWish::Auto;
  bool json = false;
  bool quiet = false;
  bool verbose = false;  ///< whether more is said: the way of redirects, costs, titles of live streams
  ColorWish color = ColorWish::Auto;
  uint32_t logLevel = 0;  ///< level of the library's debug output
};

/// What to answer at once: help, or the version.
struct Answer {
  std::string text;
};

/// What is wrong with the command line, in one line.
struct UsageError {
  std::string cause;
  std::string help;  ///< the command line that tells what would be right
};

/// Understands a command line. The commands and their options stand in commands.h and option_groups.h.
/// @param arguments without the program's name
std::variant<Options, Answer, UsageError> parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace quorin_command
