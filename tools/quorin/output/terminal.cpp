#include "output/terminal.h"

#include <fmt/format.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>

namespace quorin_command {

namespace {

/// Of a terminal that tells no width.
constexpr size_t usualWidth = 80;

/// Value of an environment variable; empty when it is not set.
std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

size_t terminalWidth() {
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  const std::string_view columns = environment("COLUMNS");
  size_t width = 0;
  const auto parsed = std::from_chars(columns.data(), columns.data() + columns.size(), width);
  return parsed.ec == std::errc() && width > 0 ? width : usualWidth;
}

bool wantsColor(ColorWish wish, bool isTerminal) {
  if (wish != ColorWish::Auto) {
    return wish == ColorWish::Always;
  }
  if (!environment("NO_COLOR").empty()) {
    return false;
  }
  const std::string_view force = environment("CLICOLOR_FORCE");
  if (!force.empty() && force != "0") {
    return true;
  }
  return isTerminal && !terminalIsDumb();
}

const char* sequenceOf(Style style) {
  switch (style) {
    case Style::Strong:
      return "\033[1m";
    case Style::Faint:
      return "\033[2m";
    case Style::Warning:
      break;
    case Style::OnYellow:
      return "\033[30;43m";
    case Style::OnMagenta:
      return "\033[30;45m";
    case Style::OnCyan:
      return "\033[30;46m";
    case Style::OnGreen:
      return "\033[30;42m";
    case Style::OnBlue:
      return "\033[37;44m";
    case Style::OnGrey:
      return "\033[37;100m";
  }
  return "\033[31m";
}

}  // namespace

Terminal standardOutput(ColorWish wish) {
  const bool isTerminal = standardOutputIsTerminal();
  Terminal terminal;
  terminal.width = isTerminal ? terminalWidth() : 0;
  terminal.color = wantsColor(wish, isTerminal);
  terminal.utf8 = localeIsUtf8();
  return terminal;
}

bool standardOutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool terminalIsDumb() { return environment("TERM") == "dumb"; }

bool localeIsUtf8() { return std::string_view(nl_langinfo(CODESET)) == "UTF-8"; }

std::string painted(const Terminal& terminal, Style style, std::string_view text) {
  return terminal.color && !text.empty() ? fmt::format("{}{}\033[0m", sequenceOf(style), text) : std::string(text);
}

}  // namespace quorin_command
