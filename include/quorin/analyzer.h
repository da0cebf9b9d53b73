#pragma once

/// @file
/// The entry of the library: what is behind this URI?
///
/// @code
///   using namespace zu::md::common;
///   quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
///   strell::OpenParams params;
///   params.uri = "http://host/stream";
///   boost::shared_ptr<quorin::AnalyzeResult> result;
///   int status = analyzer.analyze(params, result);
///   if (result && result->info) { ... }              // look at the info, not only at the status
/// @endcode

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "md/export.h"
#include "quorin/analyze_result.h"
#include "strell/strell.h"

/// @namespace zu::md::common::quorin
/// Media analysis: `Analyzer` asks, `AnalyzeResult` holds the answer.

namespace zu::md::common::quorin {

/// Analyses items, any number of them, one at a time. An object is used by one thread at a time; different objects are
/// independent of each other, so each thread makes one of its own. Copies share what they are made of and count as one
/// object. The static functions keep nothing between calls; any thread may call them.
class MD_API Analyzer {
 public:
  /// Which formats are looked for. Only bit 0 counts.
  enum Mode_t : int32_t {
    MODE_NONE = 0,  ///< raw PCM ("audio/L16") alone
    MODE_AUDIO = 1  ///< every audio format
  };

  /// Opens nothing yet.
  /// @param mode the formats that every `analyze` of this object looks for
  /// @throws std::bad_alloc
  explicit Analyzer(Mode_t mode);

  /// Finds out what `params.uri` is. The first answer ends the search: translated, repaired, folder, redirected,
  /// playlist, one of the audio formats, unknown. Takes as long as opening and reading take; `params.options` bound
  /// that.
  ///
  /// @param params the item and how to open it; not needed any more after the call
  /// @param result receives a fresh result, except when the URI is empty
  /// @return 0 when the item was recognised. With a non-zero status `result->info` may be set all the same:
  ///   "application/unknown" comes with the status by which the last format was declined.
  ///   | status | meaning |
  ///   | --- | --- |
  ///   | -287 | no format recognised it |
  ///   | -291 | out of memory |
  ///   | -292 | empty URI; `result` is untouched |
  ///   | -293 | redirected by the server, which did not say where to |
  ///   | -294 | cannot be opened: busy, malformed, network or server failure |
  ///   | -296 | there is no such item |
  ///   | -297 | cannot be opened for any other reason, such as a missing permission or an unknown scheme |
  /// @throws std::bad_alloc, and std::out_of_range for the URI "file" without anything behind it; `result` then
  ///   holds a fresh result without an answer
  int analyze(strell::OpenParams const& params, boost::shared_ptr<AnalyzeResult>& result);

  /// Decodes the four bytes of an MPEG audio frame header (ISO/IEC 11172-3, 13818-3 and the MPEG-2.5 extension).
  /// @param header four bytes, never null
  /// @param bitrate kbit/s; 0 for free format, -1 for the forbidden index
  /// @param samplingFrequency Hz; the reserved index reads as 44100 and its halves
  /// @param samplesPerFrame 384, 576 or 1152
  /// @param frameSize bytes, the header included; as for 128 kbit/s when the bitrate is 0 or -1
  /// @param xingOffset bytes from the frame's start to where a Xing header would begin
  /// @return 1 with all arguments set, or 0 (arguments may be partly written)
  static int checkFrameHeader(const unsigned char* header, int& bitrate, int& samplingFrequency,
                              unsigned& samplesPerFrame, int& frameSize, unsigned& xingOffset);

  /// Recognises the ten bytes of an ID3v2 tag header (id3.org, ID3v2.2 to 2.4).
  /// @param header ten bytes; null is no header
  /// @param tagLength bytes of the whole tag, header and footer included
  /// @param footerSize 10 or 0
  /// @return 1 with both set, or 0
  static int isID3v2Header(const unsigned char* header, unsigned& tagLength, unsigned& footerSize);

  /// Decodes a size of an ID3v2 tag: seven bits per byte when every byte is below 0x80, else a plain big-endian
  /// number.
  /// @param result receives the size
  /// @param bytes `length` bytes, the most significant first. When it or `result` is null, nothing is stored.
  /// @param length 3 or 4; any other stores 0
  static void decodeSyncSafeInteger(unsigned* result, const unsigned char* bytes, unsigned char length);

 private:
  class Impl;
  boost::shared_ptr<Impl> impl_;
};

}  // namespace zu::md::common::quorin
