#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorin_command {

enum class ColorWish { Auto, Always, Never };

/// What the reader of standard output can take.
struct Terminal {
  size_t width = 0;    ///< columns; 0: not a terminal, lines may be of any length
  bool color = false;  ///< escape sequences for colour and weight
  bool utf8 = false;   ///< characters beyond ASCII
};

/// Needs the locale of the environment (setlocale). Colour: the wish, then NO_COLOR, then CLICOLOR_FORCE, then whether
/// standard output is a terminal that is not "dumb".
Terminal standardOutput(ColorWish wish);

bool standardOutputIsTerminal();

/// Whether a stream's text may hold characters beyond ASCII, by the locale of the environment.
bool localeIsUtf8();

/// Whether the terminal can only write on, by what TERM says.
bool terminalIsDumb();

enum class Style { Strong, Faint, Warning, OnYellow, OnMagenta, OnCyan, OnGreen, OnBlue, OnGrey };

/// The text in a style, or as it is when `terminal` shows no colour.
std::string painted(const Terminal& terminal, Style style, std::string_view text);

}  // namespace quorin_command
