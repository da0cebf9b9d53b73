#include "redirect/playlist_parsers.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "framework/ascii_case.h"
#include "framework/log.h"
#include "redirect/playlist_strings.h"

namespace zu::md::common::quorin {

namespace {

using Text = std::string_view;
constexpr Text::size_type npos = Text::npos;

Text asCString(const std::string& content) { return Text(content.c_str()); }

bool startsWith(Text text, Text prefix) { return text.substr(0, prefix.size()) == prefix; }

template <typename Comparison>
bool namesKnownScheme(Text text, Comparison beginsWith) {
  using namespace url_prefixes;
  const std::array<Text, 8> known = {http, https, mms, mmsh, file, vdr2, rtsp, rtp};
  return std::any_of(known.begin(), known.end(), [&](Text prefix) { return beginsWith(text, prefix); });
}

/// Where the line at `begin` ends; the end of the text is npos.
Text::size_type lineEnd(Text text, Text::size_type begin) {
  const auto carriageReturn = text.find('\r', begin);
  return carriageReturn != npos ? carriageReturn : text.find('\n', begin);
}

Text between(Text text, Text::size_type begin, Text::size_type end) { return text.substr(begin, end - begin); }

/// The first text in double quotes.
std::optional<Text> firstQuoted(Text text) {
  const auto open = text.find('"');
  const auto close = open == npos ? npos : text.find('"', open + 1);
  return close == npos ? std::nullopt : std::optional<Text>(between(text, open + 1, close));
}

/// The reference that an ASX document is about.
struct AsxReference {
  Text::size_type position = npos;  ///< of its tag; npos for none
  bool toPlaylist = false;          ///< "<entryref"
};

AsxReference findAsxReference(Text text) {
  AsxReference reference;
  const auto document = findIgnoringCase(text, playlist_markers::asx);
  if (document == npos) {
    return reference;
  }
  // Before "<entry", which is how "<entryref" begins too.
  reference.position = findIgnoringCase(text, playlist_markers::entryRef, document);
  reference.toPlaylist = reference.position != npos;
  if (!reference.toPlaylist) {
    const auto entry = findIgnoringCase(text, playlist_markers::entry, document);
    reference.position = entry == npos ? npos : findIgnoringCase(text, playlist_markers::ref, entry);
  }
  return reference;
}

/// The value of the first entry of a "[Reference]" section.
std::optional<Text> firstOfReferenceSection(Text text) {
  const auto section = findIgnoringCase(text, playlist_markers::reference);
  const auto equals = section == npos ? npos : text.find('=', section);
  if (equals == npos) {
    return std::nullopt;
  }
  return between(text, equals + 1, lineEnd(text, equals + 1));
}

}  // namespace

bool parseM3U(std::string const& content, std::string& url) {
  Text rest = asCString(content);
  while (startsWith(rest, "#EXT")) {
    const auto end = lineEnd(rest, 0);
    if (end == npos) {
      return false;
    }
    const bool isPair = startsWith(rest.substr(end), "\r\n");
    rest.remove_prefix(end + (isPair ? 2 : 1));
  }
  // kept: in lower case only, other than in parseSIMPLE; a list that is refused here is left to the analyzers
  if (!namesKnownScheme(rest, startsWith)) {
    QUORIN_LOG(Info, "%s() Unknown protocol for redirect \"%s\"\n", __func__, rest.data());
    return false;
  }
  url = rest.substr(0, lineEnd(rest, 0));
  return true;
}

bool parseASX(std::string const& content, std::string& url, bool& directRef) {
  const Text text = asCString(content);
  const AsxReference reference = findAsxReference(text);
  std::optional<Text> target;
  if (reference.position != npos) {
    target = firstQuoted(text.substr(reference.position));
  }
  if (!target) {
    target = firstOfReferenceSection(text);
  }
  if (!target) {
    return false;
  }
  url = *target;
  directRef = !reference.toPlaylist;
  return true;
}

bool parseXML(std::string const& content, std::string& url) {
  const Text text = asCString(content);
  if (!startsWithIgnoringCase(text, playlist_markers::contents)) {
    return false;
  }
  const auto element = findIgnoringCase(text, playlist_markers::contentUrl);
  const auto tagEnd = element == npos ? npos : text.find('>', element);
  const auto end = tagEnd == npos ? npos : text.find('<', tagEnd);
  if (end == npos) {
    return false;
  }
  url = between(text, tagEnd + 1, end);
  return true;
}

bool parseSIMPLE(std::string const& content, std::string& url) {
  const Text text = asCString(content);
  if (!namesKnownScheme(text, startsWithIgnoringCase)) {
    return false;
  }
  url = text.substr(0, text.find_first_of("\r\n"));
  return true;
}

}  // namespace zu::md::common::quorin
