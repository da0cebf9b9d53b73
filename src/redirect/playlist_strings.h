#pragma once

#include <string>

/// @file
/// The words by which playlists are told: content types of responses, schemes of targets, tags of documents.

namespace zu::md::common::quorin {

/// Content types of playlists. A header value is compared over the length of the constant, case ignored, so that
/// parameters behind it do not matter.
namespace playlist_types {
extern const std::string audioWax;       ///< "audio/x-ms-wax", ASF family
extern const std::string audioAsf;       ///< "audio/x-ms-asf", ASF family
extern const std::string videoWvx;       ///< "video/x-ms-wvx", ASF family
extern const std::string videoAsf;       ///< "video/x-ms-asf", ASF family
extern const std::string audioMpegUrl;   ///< "audio/mpegurl", M3U family
extern const std::string audioXMpegUrl;  ///< "audio/x-mpegurl", M3U family
extern const std::string textPlain;      ///< "text/plain"
extern const std::string xml;            ///< "application/xml"; known, but no item is redirected for it
}  // namespace playlist_types

/// Beginnings of the URIs that a playlist may name.
namespace url_prefixes {
extern const std::string http;   ///< "http://"
extern const std::string https;  ///< "https://"
extern const std::string mms;    ///< "mms://"
extern const std::string mmsh;   ///< "mmsh://"
extern const std::string file;   ///< "file:/"
extern const std::string rtsp;   ///< "rtsp://"
extern const std::string rtp;    ///< "rtp://"
extern const std::string vdr2;   ///< "vdr2://"
}  // namespace url_prefixes

/// Marks inside playlists.
namespace playlist_markers {
extern const std::string asx;          ///< "<asx"
extern const std::string entryRef;     ///< "<entryref"
extern const std::string entry;        ///< "<entry"
extern const std::string ref;          ///< "<ref"
extern const std::string reference;    ///< "[Reference]"
extern const std::string contents;     ///< "<Contents"
extern const std::string contentItem;  ///< "<ContentItem"; known, but no parser looks for it
extern const std::string contentUrl;   ///< "<ContentURL"
}  // namespace playlist_markers

}  // namespace zu::md::common::quorin
