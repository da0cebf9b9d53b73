#pragma once

/// @file
/// The content types by which answers are told apart.

#include <string>

#include "md/export.h"

namespace zu::md::common::quorin {

/// Content types by which results name what an item is, and some more that callers of the library share. They are
/// built when the library is loaded, so constructors of static objects must not use them when it is linked statically.
namespace MimeTypes {

extern MD_API const std::string AudioDlnaAdts;           ///< "audio/aacp": AAC in ADTS framing (ISO/IEC 13818-7)
extern MD_API const std::string AudioVorbis;             ///< "audio/vorbis": for callers, no answer
extern MD_API const std::string AudioXFlac;              ///< "audio/x-flac": native FLAC (RFC 9639)
extern MD_API const std::string AudioMpeg;               ///< "audio/mpeg": MPEG audio (ISO/IEC 11172-3, 13818-3)
extern MD_API const std::string AudioXWave;              ///< "audio/x-wav": RIFF/WAVE with PCM
extern MD_API const std::string AudioXMsWma;             ///< "audio/x-ms-wma": for callers, no answer
extern MD_API const std::string AudioL16;                ///< "audio/L16": raw 16-bit PCM (RFC 2586)
extern MD_API const std::string ImageJpeg;               ///< "image/jpeg": for callers, no answer
extern MD_API const std::string ImagePng;                ///< "image/png": for callers, no answer
extern MD_API const std::string ImageGif;                ///< "image/gif": for callers, no answer
extern MD_API const std::string VideoMP2T;               ///< "video/mp2t": for callers, no answer
extern MD_API const std::string VideoAVCHD;              ///< "video/avchd": for callers, no answer
extern MD_API const std::string ApplicationRedirect;     ///< "application/redirect": analyse RedirectInfo::urls next
extern MD_API const std::string ApplicationRedirectAsf;  ///< "application/redirect-asf": the same, an ASF/MMS stream
extern MD_API const std::string ApplicationFolder;       ///< "application/folder": a directory
extern MD_API const std::string ApplicationUnknown;      ///< "application/unknown": nothing recognised the item

}  // namespace MimeTypes

}  // namespace zu::md::common::quorin
