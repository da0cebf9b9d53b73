#pragma once

namespace zu::md::common::quorin {

constexpr unsigned mpegFrameHeaderSize = 4;  // bytes
constexpr int mpegBitrateFree = 0;           // kbit/s: free format, the header does not tell
constexpr int mpegBitrateBad = -1;           // the forbidden bitrate index

/// Whether two bytes begin an MPEG audio frame: eleven bits set.
constexpr bool isMpegSync(const unsigned char* bytes) { return bytes[0] == 0xff && (bytes[1] & 0xe0) == 0xe0; }

/// Decodes an MPEG audio frame header; documented as Analyzer::checkFrameHeader.
int checkMpegFrameHeader(const unsigned char* header, int& bitrate, int& samplingFrequency, unsigned& samplesPerFrame,
                         int& frameSize, unsigned& xingOffset);

}  // namespace zu::md::common::quorin
