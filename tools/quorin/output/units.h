#pragma once

#include <string>

#include "obq/time.h"

/// @file
/// Numbers as people read them.

namespace quorin_command {

std::string grouped(long long number);                         ///< "1 651 147"
std::string byteCount(long long bytes);                        ///< "417 bytes", "8.2 KiB", "120 MiB"
std::string counted(unsigned int count, const char* what);     ///< "1 read", "2 reads"
std::string percentage(long long part, long long whole);       ///< "0.4 %", "< 0.1 %"
std::string frequency(int hertz);                              ///< "44.1 kHz"
std::string bitRate(int bitsPerSecond);                        ///< "128 kbit/s"
std::string channelCount(int channels);                        ///< "mono", "stereo", "6 channels"
std::string playingTime(const _obqOsalTime_struct& duration);  ///< "4.2 s", "3:05", "1:02:03"
std::string clockTime(long long seconds);                      ///< "0:07", "3:05", "1:02:03"
std::string elapsedTime(long long microseconds);               ///< "0.4 ms", "1.2 s"

}  // namespace quorin_command
