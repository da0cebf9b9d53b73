#pragma once

#include <string_view>

/// @file
/// Standard output and standard error. Data leaves in whole lines: SIGINT ends the program at once, unless a line is on
/// its way; then as soon as the line is out, or at the second SIGINT. A file that is not finished goes with the
/// program, also at SIGTERM, SIGHUP and SIGQUIT; so does a line of progress.

namespace quorin_command {

/// To be called first in the program. Makes sure that nothing opened later lands on a closed standard stream, that a
/// reader who goes away and a file that may grow no more show as a failed write, that SIGINT ends the program with
/// EXIT_INTERRUPTED, and that no signal leaves a TemporaryName behind.
void prepareStreams();

/// Writes whole lines to standard output, to the last byte.
/// @return false after saying on standard error why not
bool writeData(std::string_view text);

/// Writes to a descriptor, to the last byte.
/// @return 0, or the errno of the failure
int writeAll(int descriptor, std::string_view bytes);

/// Says what is wrong with standard output, if anything.
/// @return whether all is well, that is, whether the errno is 0
bool isFine(int error);

/// Closes standard output: the last chance to learn that a disk is full.
/// @return false after saying on standard error why not
bool closeData();

/// Writes to standard error; a failure has nobody to be told to.
void writeTalk(std::string_view text);

/// Writes a line of progress over the one that stands on standard error, a terminal. It goes away when the program ends
/// early, too.
void showProgressLine(std::string_view line);

/// Takes away the line of progress, if one stands.
void hideProgressLine();

}  // namespace quorin_command
