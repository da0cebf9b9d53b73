#pragma once

#include <string>

namespace quorin_test {

/// An ADTS file by ffmpeg, half a second at 48000 Hz, whose frames the analyzer of MPEG audio cannot take for its own,
/// from wherever it looks at them played over and over. It is asked first, and two MPEG frame headers in the distance
/// of their frame size, by chance inside of AAC frames, are enough for it.
std::string unmistakableAdts();

}  // namespace quorin_test
