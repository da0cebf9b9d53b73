#include "output/display_text.h"

#include <fmt/format.h>
#include <utf8.h>

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <vector>

#include "output/credentials.h"

namespace quorin_command {

namespace {

/// Makes wcwidth() answer for Unicode in this thread, whatever the user's locale is.
class UnicodeWidths {
 public:
  UnicodeWidths() : before_(uselocale(unicode())) {}
  ~UnicodeWidths() { uselocale(before_); }
  UnicodeWidths(const UnicodeWidths&) = delete;
  UnicodeWidths& operator=(const UnicodeWidths&) = delete;

 private:
  /// Part of the C library itself in Debian, so it is there without any locale being installed. Where it is not, the
  /// user's own locale answers.
  static locale_t unicode() {
    static locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    return locale;
  }

  locale_t before_;
};

struct Range {
  char32_t first;
  char32_t last;
};

/// Characters that take no room and change what stands around them, or hide.
constexpr Range treacherous[] = {
    {0x00ad, 0x00ad},    // soft hyphen
    {0x061c, 0x061c},    // Arabic letter mark
    {0x200b, 0x200b},    // zero width space
    {0x200e, 0x200f},    // writing direction
    {0x2028, 0x202e},    // line and paragraph separator, writing direction
    {0x2060, 0x206f},    // word joiner, invisible operators, writing direction
    {0xfeff, 0xfeff},    // byte order mark
    {0xfff9, 0xfffb},    // annotations
    {0xe0000, 0xe0fff},  // tags
};

bool isTreacherous(char32_t c) {
  for (const Range& range : treacherous) {
    if (c >= range.first && c <= range.last) {
      return true;
    }
  }
  return false;
}

bool standsThere(char32_t c) { return c != 0 && wcwidth(static_cast<wchar_t>(c)) >= 0 && !isTreacherous(c); }

std::string escaped(char32_t c) {
  switch (c) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return c < 0x80 ? fmt::format("\\x{:02x}", static_cast<uint32_t>(c))
                      : fmt::format("\\u{{{:x}}}", static_cast<uint32_t>(c));
  }
}

struct Glyph {
  std::string_view bytes;
  size_t width;
};

/// How long the escape is that a text begins with, if it is one of a number: "\\x1b", "\\u{1f3b5}"; else 0. A name may
/// hold such characters of its own; they only stay together then.
size_t escapeLength(std::string_view text) {
  const auto countDigits = [text](size_t at) {
    return std::min(text.find_first_not_of("0123456789abcdef", at), text.size()) - at;
  };
  if (text.substr(0, 2) == "\\x") {
    return countDigits(2) >= 2 ? 4 : 0;
  }
  constexpr size_t mostDigits = 6;
  const size_t digits = text.substr(0, 3) == "\\u{" ? countDigits(3) : 0;
  return digits > 0 && digits <= mostDigits && text.substr(3 + digits, 1) == "}" ? digits + 4 : 0;
}

std::vector<Glyph> glyphsOf(std::string_view text) {
  const UnicodeWidths unicode;
  std::vector<Glyph> glyphs;
  while (!text.empty()) {
    auto end = text.begin();
    const char32_t c = utf8::next(end, text.end());
    const int width = wcwidth(static_cast<wchar_t>(c));
    Glyph glyph = {text.substr(0, static_cast<size_t>(end - text.begin())), static_cast<size_t>(std::max(width, 0))};
    if (const size_t length = escapeLength(text); length > 0) {
      glyph = {text.substr(0, length), length};
    }
    glyphs.push_back(glyph);
    text.remove_prefix(glyph.bytes.size());
  }
  return glyphs;
}

size_t widthOf(const std::vector<Glyph>& glyphs) {
  size_t width = 0;
  for (const Glyph& glyph : glyphs) {
    width += glyph.width;
  }
  return width;
}

}  // namespace

std::string displayable(std::string_view name, bool utf8) {
  const std::string bytes = credentialsHidden(name);
  const UnicodeWidths unicode;
  std::string text;
  for (auto at = bytes.begin(); at != bytes.end();) {
    auto next = at;
    char32_t c = 0;
    try {
      c = utf8::next(next, bytes.end());
    } catch (const utf8::exception&) {
      text += fmt::format("\\x{:02x}", static_cast<unsigned char>(*at));
      ++at;
      continue;
    }
    const bool stays = standsThere(c) && (utf8 || c < 0x80);
    text += stays ? std::string(at, next) : escaped(c);
    at = next;
  }
  return text;
}

size_t displayWidth(std::string_view text) { return widthOf(glyphsOf(text)); }

std::string cutMiddle(std::string_view text, size_t width, bool utf8) {
  const std::vector<Glyph> glyphs = glyphsOf(text);
  if (widthOf(glyphs) <= width) {
    return std::string(text);
  }
  const std::string_view mark = utf8 ? "…" : "...";
  const size_t markWidth = utf8 ? 1 : mark.size();
  if (width <= markWidth) {
    return std::string(width, '.');
  }
  // The end of a name tells more than its start: the number of the track, the type of the file.
  const size_t left = (width - markWidth) / 2;
  const size_t right = width - markWidth - left;
  std::string head;
  size_t first = 0;
  for (size_t used = 0; used + glyphs[first].width <= left; ++first) {
    used += glyphs[first].width;
    head += glyphs[first].bytes;
  }
  size_t last = glyphs.size();
  for (size_t used = 0; used + glyphs[last - 1].width <= right;) {
    used += glyphs[--last].width;
  }
  // A combining character does not stand alone behind the mark.
  while (last < glyphs.size() && glyphs[last].width == 0) {
    ++last;
  }
  const size_t tail = last < glyphs.size() ? static_cast<size_t>(glyphs[last].bytes.data() - text.data()) : text.size();
  return head + std::string(mark) + std::string(text.substr(tail));
}

std::string padded(std::string_view text, size_t width) {
  const size_t own = displayWidth(text);
  return std::string(text) + std::string(own < width ? width - own : 0, ' ');
}

std::string paddedLeft(std::string_view text, size_t width) {
  const size_t own = displayWidth(text);
  return std::string(own < width ? width - own : 0, ' ') + std::string(text);
}

}  // namespace quorin_command
