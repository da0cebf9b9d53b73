#include "scan/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "output/display_text.h"
#include "output/output.h"
#include "output/terminal.h"
#include "output/units.h"

namespace quorin_command {

namespace {

/// Time between two states of a line that is written over, and between plain lines.
constexpr std::chrono::milliseconds lineInterval(100);
constexpr std::chrono::seconds linesInterval(5);

/// Below this a rate says nothing about the time that is left.
constexpr double secondsUntilRate = 0.5;

size_t widthOfStandardError() {
  struct winsize size = {};
  const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

std::string number(unsigned long long count) { return grouped(static_cast<long long>(count)); }

}  // namespace

Progress::Progress(ProgressWish wish, bool quiet) {
  const bool canErase = ::isatty(STDERR_FILENO) != 0 && !terminalIsDumb();
  const bool wanted = wish == ProgressWish::Always || (wish == ProgressWish::Auto && canErase && !quiet);
  form_ = !wanted ? Form::None : canErase ? Form::Line : Form::Lines;
}

void Progress::show(const State& state) {
  const Clock::time_point now = Clock::now();
  const Clock::duration interval = form_ == Form::Line ? Clock::duration(lineInterval) : Clock::duration(linesInterval);
  if (form_ == Form::None || now - std::max(shown_, start_) < interval) {
    return;
  }
  shown_ = now;
  if (form_ == Form::Lines) {
    writeTalk("quorin: " + text(state) + '\n');
    return;
  }
  const bool utf8 = localeIsUtf8();
  const size_t width = widthOfStandardError() - 1;  // a full line would wrap
  std::string line = text(state);
  const size_t used = displayWidth(line) + 2;
  if (used + 8 < width) {
    line += "  " + cutMiddle(displayable(state.current, utf8), width - used, utf8);
  }
  showProgressLine(cutMiddle(line, width, utf8));
}

std::string Progress::text(const State& state) const {
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const double rate = static_cast<double>(state.done) / seconds;
  const unsigned long long found = std::max(state.found, state.done);  // files may come while others are looked at
  std::string line = state.allFound ? fmt::format("{} of {}", number(state.done), number(found))
                                    : fmt::format("{} done", number(state.done));
  if (!state.allFound && state.found > 0) {
    line += fmt::format(", found {}", number(state.found));
  }
  if (state.allFound && state.found > 0) {
    line += fmt::format(" ({} %)", state.done * 100 / found);
  }
  line += fmt::format(", {}/s", number(static_cast<unsigned long long>(rate)));
  if (state.allFound && rate > 0 && seconds > secondsUntilRate) {
    const auto left = static_cast<long long>(static_cast<double>(found - state.done) / rate);
    line += fmt::format(", {} left", clockTime(left));
  }
  return state.failed == 0 ? line : line + fmt::format(", {} failed", number(state.failed));
}

}  // namespace quorin_command
