#pragma once

#include <string>

#include "md/export.h"

namespace zu::md::common::quorin {

/// Content types by which results name what an item is, and some more that callers of the library share.
namespace MimeTypes {

extern MD_API const std::string AudioDlnaAdts;           ///< "audio/aacp": AAC in ADTS framing
extern MD_API const std::string AudioVorbis;             ///< "audio/vorbis"
extern MD_API const std::string AudioXFlac;              ///< "audio/x-flac": native FLAC
extern MD_API const std::string AudioMpeg;               ///< "audio/mpeg": MPEG audio
extern MD_API const std::string AudioXWave;              ///< "audio/x-wav": RIFF/WAVE with PCM
extern MD_API const std::string AudioXMsWma;             ///< "audio/x-ms-wma"
extern MD_API const std::string AudioL16;                ///< "audio/L16": raw 16-bit PCM
extern MD_API const std::string ImageJpeg;               ///< "image/jpeg"
extern MD_API const std::string ImagePng;                ///< "image/png"
extern MD_API const std::string ImageGif;                ///< "image/gif"
extern MD_API const std::string VideoMP2T;               ///< "video/mp2t"
extern MD_API const std::string VideoAVCHD;              ///< "video/avchd"
extern MD_API const std::string ApplicationRedirect;     ///< "application/redirect": analyse RedirectInfo::urls next
extern MD_API const std::string ApplicationRedirectAsf;  ///< "application/redirect-asf": the same, an ASF/MMS stream
extern MD_API const std::string ApplicationFolder;       ///< "application/folder"
extern MD_API const std::string ApplicationUnknown;      ///< "application/unknown": nothing recognised the item

}  // namespace MimeTypes

}  // namespace zu::md::common::quorin
