#include "command_line/option_checks.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "output/talk.h"

namespace quorin_command {

namespace {

/// Longest time limit, in seconds, that can be asked for: the host platform takes no longer one.
constexpr double longestTimeLimit = 1e6;

std::string whyUnreadable(const std::string& path) {
  return ::access(path.c_str(), R_OK) == 0 ? std::string() : fmt::format("'{}': {}", path, reasonOf(errno));
}

}  // namespace

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

const CLI::Validator isReadable(whyUnreadable, "", "readable file");

const CLI::Validator isReadableOrStandardInput(
    [](const std::string& path) { return path == "-" ? std::string() : whyUnreadable(path); }, "", "readable file");

const CLI::Validator isFolder(
    [](const std::string& path) {
      struct stat status = {};
      const int error = ::stat(path.c_str(), &status) != 0 ? errno : S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
      return error == 0 ? std::string() : fmt::format("'{}': {}", path, reasonOf(error));
    },
    "", "folder");

const CLI::Validator isOneLine(
    [](const std::string& text) {
      const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
      return std::any_of(text.begin(), text.end(), isControl) ? "a control character does not belong there"
                                                              : std::string();
    },
    "", "one line");

const CLI::Validator isHeader(
    [](const std::string& text) {
      const size_t colon = text.find(':');
      const size_t end =
          text.find_first_not_of("!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
      // It is not quoted: what lacks a colon may be a password all the same.
      return colon == 0 || colon == std::string::npos || end != colon ? std::string("not of the form 'NAME: VALUE'")
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

}  // namespace quorin_command
