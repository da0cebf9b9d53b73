#pragma once

/// @file
/// The kinds of answer: what an item is.

#include <cstdint>
#include <list>
#include <string>

#include "md/export.h"

namespace zu::md::common::quorin {

/// What an item is. Callers tell the kinds apart by the dynamic type (`Info` itself for a folder or an unknown item,
/// `RedirectInfo`, `AudioInfo`) and by `mimeType`. Never changes once it is in a result.
class MD_API Info {
 public:
  /// Bytes. A playlist is read up to here, and only a longer source counts as a real file: one whose playing time is
  /// estimated from its size, whose end is looked at, and in which a player may seek.
  static const int MaximumHttpHeaderSize = 10000;

  /// Answers are destroyed through this type.
  virtual ~Info();

  std::string mimeType;  ///< one of MimeTypes
};

/// The item points to another one, which the caller analyses next. The library follows nothing by itself; a caller that
/// does bounds the number of steps, and goes from the network to nothing local.
class MD_API RedirectInfo : public Info {
 public:
  /// As of `Info`.
  ~RedirectInfo() override;

  std::string contentType;      ///< content type of the response that redirected; empty when there was none
  std::list<std::string> urls;  ///< targets in order; exactly one today
};

/// Audio formats. The numbers are part of the interface; 1 and 5 are gaps kept for it.
enum MediaType_t : int32_t {
  MEDIA_TYPE_NONE = -1,       ///< not known
  MEDIA_TYPE_MP3 = 0,         ///< MPEG-1, 2 or 2.5 audio of any layer (ISO/IEC 11172-3, 13818-3)
  MEDIA_TYPE_RESERVED_1 = 1,  ///< never produced
  MEDIA_TYPE_LPCM = 2,        ///< raw 16-bit PCM, big-endian, "audio/L16" (RFC 2586)
  MEDIA_TYPE_WAV = 3,         ///< RIFF/WAVE
  MEDIA_TYPE_FLAC = 4,        ///< native FLAC (RFC 9639)
  MEDIA_TYPE_RESERVED_5 = 5,  ///< never produced
  MEDIA_TYPE_AAC_MPEG2 = 6,   ///< AAC in ADTS framing, ID bit 1 (ISO/IEC 13818-7)
  MEDIA_TYPE_AAC_MPEG4 = 7    ///< AAC in ADTS framing, ID bit 0 (ISO/IEC 14496-3)
};

}  // namespace zu::md::common::quorin
