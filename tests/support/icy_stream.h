#pragma once

#include <string>
#include <vector>

#include "support/scripted_source.h"

namespace quorin_test {

/// One ICY metadata block: the length byte and the text, padded with NULs. At most 4080 bytes of text.
Bytes icyBlock(const std::string& text);

/// What an ICY server sends for `audio`: a block behind every `metaint` bytes, also behind the last ones when they are
/// complete. `texts` are the blocks' texts in order; the blocks behind them are empty.
Bytes icyStream(const Bytes& audio, unsigned int metaint, const std::vector<std::string>& texts);

}  // namespace quorin_test
