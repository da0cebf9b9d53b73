#include "output/matter.h"

#include "output/display_text.h"

namespace quorin_command {

namespace {

constexpr size_t indent = 2;
constexpr size_t labelWidth = 10;

}  // namespace

Phrases listed(Phrases phrases, std::string_view separator) {
  for (size_t i = 0; i + 1 < phrases.size(); ++i) {
    phrases[i] += separator;
  }
  return phrases;
}

std::string matter(const Terminal& terminal, std::string_view label, const Phrases& phrases) {
  if (phrases.empty()) {
    return std::string();
  }
  std::string text(indent, ' ');
  text += painted(terminal, Style::Faint, padded(label, labelWidth));
  size_t column = indent + labelWidth;
  bool atStart = true;
  for (const std::string& phrase : phrases) {
    const size_t width = displayWidth(phrase);
    if (!atStart && terminal.width != 0 && column + 1 + width > terminal.width) {
      text += '\n' + std::string(indent + labelWidth, ' ');
      column = indent + labelWidth;
    } else if (!atStart) {
      text += ' ';
      ++column;
    }
    text += phrase;
    column += width;
    atStart = false;
  }
  return text + '\n';
}

}  // namespace quorin_command
