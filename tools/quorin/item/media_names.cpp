#include "item/media_names.h"

namespace quorin_command {

MediaName nameOf(zu::md::common::quorin::MediaType_t type) {
  using namespace zu::md::common::quorin;
  switch (type) {
    case MEDIA_TYPE_MP3:
      return {"mp3", "MP3", "MP3"};
    case MEDIA_TYPE_LPCM:
      return {"lpcm", "PCM", "raw PCM"};
    case MEDIA_TYPE_WAV:
      return {"wav", "WAV", "WAV"};
    case MEDIA_TYPE_FLAC:
      return {"flac", "FLAC", "FLAC"};
    case MEDIA_TYPE_AAC_MPEG2:
      return {"aac_mpeg2", "AAC", "AAC (MPEG-2)"};
    case MEDIA_TYPE_AAC_MPEG4:
      return {"aac_mpeg4", "AAC", "AAC (MPEG-4)"};
    case MEDIA_TYPE_NONE:
    case MEDIA_TYPE_RESERVED_1:
    case MEDIA_TYPE_RESERVED_5:
      break;
  }
  return {nullptr, "audio", "audio"};
}

std::string formatInWords(const std::string& json) {
  using namespace zu::md::common::quorin;
  for (const MediaType_t type :
       {MEDIA_TYPE_MP3, MEDIA_TYPE_LPCM, MEDIA_TYPE_WAV, MEDIA_TYPE_FLAC, MEDIA_TYPE_AAC_MPEG2, MEDIA_TYPE_AAC_MPEG4}) {
    if (json == nameOf(type).json) {
      return nameOf(type).inWords;
    }
  }
  return json;
}

}  // namespace quorin_command
