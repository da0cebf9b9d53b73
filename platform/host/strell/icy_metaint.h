#pragma once

#include <deque>
#include <string>

namespace zu::md::common::strell {

/// The largest distance of metadata blocks that is believed, in bytes. Servers use 8 to 64 KiB; a number that does
/// not even fit here comes from no server that means it.
constexpr unsigned int maxIcyMetaint = 0x7FFFFFFF;

/// Finds the distance of ICY metadata blocks in a response header: a line "icy-metaint: N" with N from 1 to
/// maxIcyMetaint, the name in any case, blanks and tabs allowed around the colon and at the end. The last such line
/// counts; lines that give no such number are passed over.
/// @return N, 0 when the stream has no metadata
unsigned int icyMetaint(const std::deque<std::string>& headerLines);

}  // namespace zu::md::common::strell
