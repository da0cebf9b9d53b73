#pragma once

#include <string>

/// @file
/// Finding the first stream that a playlist names.
///
/// Every parser reads `content` as a C string: what stands behind a NUL is not seen. It returns true with the target,
/// exactly as it is written, in `url`; or false with every argument untouched.
///
/// In M3U lists and "[Reference]" sections a line ends at the next carriage return anywhere in the text, and at a line
/// feed only when no carriage return follows at all. Kept: a list of mixed line ends has always given a target with
/// line feeds in it, and what is made of that is known.

namespace zu::md::common::quorin {

/// An M3U list: the first line that does not begin with "#EXT", if it names a known scheme in lower case. Logs what
/// is there instead.
bool parseM3U(std::string const& content, std::string& url);

/// An ASX document or a "[Reference]" section: the first double-quoted text behind "<entryref", or else behind
/// "<entry" and "<ref"; or else what follows the first "=" of the section.
/// @param directRef false when the target is a playlist again ("<entryref"), true when it is a stream
bool parseASX(std::string const& content, std::string& url, bool& directRef);

/// A "<Contents" document: the text of its first "<ContentURL" element.
bool parseXML(std::string const& content, std::string& url);

/// A URI of a known scheme, in any case, and nothing else that matters: its first line.
bool parseSIMPLE(std::string const& content, std::string& url);

}  // namespace zu::md::common::quorin
