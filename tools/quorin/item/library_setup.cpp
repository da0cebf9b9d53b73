#include "item/library_setup.h"

#include <fmt/format.h>

#include <string_view>

#include "item/source_watch.h"
#include "obq/debug.h"
#include "output/display_text.h"
#include "output/output.h"
#include "output/terminal.h"
#include "vdir2.h"

namespace quorin_command {

namespace {

/// The library's module number in the debug output of the platform.
constexpr uint32_t libraryModule = 0x68;

/// Log lines quote what items say and what they are called, so they are shown like any name of a stranger.
void showLogLine(uint32_t /*module*/, uint32_t /*level*/, std::string_view text) {
  if (!text.empty() && text.back() == '\n') {
    text.remove_suffix(1);
  }
  hideProgressLine();
  writeTalk(displayable(text, localeIsUtf8()) + '\n');
}

}  // namespace

std::string setUpLibrary(const Options& options) {
  obq::setDebugSink(showLogLine);  // also of what OBQ_DEBUG in the environment asks for
  if (options.logLevel != 0) {
    obq::setDebugLevel(libraryModule, options.logLevel);
  }
  for (const Medium& medium : options.media) {
    if (vdir2MediaRegister(medium.uuid.c_str(), medium.directory.c_str()) < 0) {
      return fmt::format("--medium: '{}' is not a directory that can be a medium", medium.directory);
    }
  }
  watchSources();
  return std::string();
}

}  // namespace quorin_command
