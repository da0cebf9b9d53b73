#include "redirect/playlist_strings.h"

namespace zu::md::common::quorin {

namespace playlist_types {
const std::string audioWax("audio/x-ms-wax");
const std::string audioAsf("audio/x-ms-asf");
const std::string videoWvx("video/x-ms-wvx");
const std::string videoAsf("video/x-ms-asf");
const std::string audioMpegUrl("audio/mpegurl");
const std::string audioXMpegUrl("audio/x-mpegurl");
const std::string textPlain("text/plain");
const std::string xml("application/xml");
}  // namespace playlist_types

namespace url_prefixes {
const std::string http("http://");
const std::string https("https://");
const std::string mms("mms://");
const std::string mmsh("mmsh://");
const std::string file("file:/");
const std::string rtsp("rtsp://");
const std::string rtp("rtp://");
const std::string vdr2("vdr2://");
}  // namespace url_prefixes

namespace playlist_markers {
const std::string asx("<asx");
const std::string entryRef("<entryref");
const std::string entry("<entry");
const std::string ref("<ref");
const std::string reference("[Reference]");
const std::string contents("<Contents");
const std::string contentItem("<ContentItem");
const std::string contentUrl("<ContentURL");
}  // namespace playlist_markers

}  // namespace zu::md::common::quorin
