#include "quorin/mime_types.h"

namespace zu::md::common::quorin::MimeTypes {

const std::string AudioDlnaAdts("audio/aacp");
const std::string AudioVorbis("audio/vorbis");
const std::string AudioXFlac("audio/x-flac");
const std::string AudioMpeg("audio/mpeg");
const std::string AudioXWave("audio/x-wav");
const std::string AudioXMsWma("audio/x-ms-wma");
const std::string AudioL16("audio/L16");
const std::string ImageJpeg("image/jpeg");
const std::string ImagePng("image/png");
const std::string ImageGif("image/gif");
const std::string VideoMP2T("video/mp2t");
const std::string VideoAVCHD("video/avchd");
const std::string ApplicationRedirect("application/redirect");
const std::string ApplicationRedirectAsf("application/redirect-asf");
const std::string ApplicationFolder("application/folder");
const std::string ApplicationUnknown("application/unknown");

}  // namespace zu::md::common::quorin::MimeTypes
