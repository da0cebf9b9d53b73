#include <clocale>
#include <exception>
#include <string>
#include <variant>
#include <vector>

#include "command_line/exit_codes.h"
#include "command_line/options.h"
#include "cover/cover.h"
#include "item/library_setup.h"
#include "map/map.h"
#include "output/output.h"
#include "output/talk.h"
#include "play/play.h"
#include "probe/probe.h"
#include "report/report.h"
#include "scan/scan.h"

namespace {

using namespace quorin_command;

int runCommand(const Options& options) {
  if (const std::string wrong = setUpLibrary(options); !wrong.empty()) {
    complain(wrong);
    return EXIT_USAGE;
  }
  switch (options.command) {
    case Command::Probe:
      return probe(options);
    case Command::Scan:
      return scan(options);
    case Command::Cover:
      return cover(options);
    case Command::Map:
      return map(options);
    case Command::Play:
      return play(options);
    case Command::Report:
      return report(options);
  }
  return EXIT_OUTPUT;
}

int run(const std::vector<std::string>& arguments) {
  const auto commandLine = parseCommandLine(arguments);
  if (const auto* wrong = std::get_if<UsageError>(&commandLine)) {
    complain(wrong->cause + " ('" + wrong->help + "' tells more)");
    return EXIT_USAGE;
  }
  if (const auto* answer = std::get_if<Answer>(&commandLine)) {
    return writeData(answer->text) ? EXIT_ALL_RECOGNISED : EXIT_OUTPUT;
  }
  return runCommand(std::get<Options>(commandLine));
}

}  // namespace

int main(int argc, char** argv) {
  prepareStreams();
  static_cast<void>(std::setlocale(LC_CTYPE, ""));  // of a locale that is not installed, "C" stays
  try {
    const int status = run({argv + (argc > 0 ? 1 : 0), argv + argc});
    return closeData() ? status : EXIT_OUTPUT;
  } catch (const std::exception& exception) {
    complain(std::string("internal error: ") + exception.what());
    return EXIT_OUTPUT;
  }
}
