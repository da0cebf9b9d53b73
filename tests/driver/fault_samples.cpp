#include "fault_samples.h"

#include "support/adts_builder.h"
#include "support/bytes.h"
#include "support/flac_builder.h"
#include "support/icy_stream.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"
#include "support/wav_builder.h"

namespace quorin_test {

namespace {

constexpr size_t beyondTheHead = 70000;  // bytes: the cache of a source that can seek holds 65536
constexpr size_t notSmall = 12000;       // bytes: nothing is sought in items of 10000 bytes and less
constexpr size_t twoSecondsOfPcm = 2UL * 44100 * 4;

std::deque<std::string> headerOf(const std::string& contentType, const std::string& more = "") {
  std::deque<std::string> lines = {"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType + "\r\n"};
  if (!more.empty()) {
    lines.push_back(more + "\r\n");
  }
  return lines;
}

// ---- MPEG audio ----

Bytes mp3(const Bytes& begin) { return concat({begin, mpegFrames(60), id3v1Tag()}); }

Bytes tagged(unsigned char major, size_t cover) {
  Id3v2Tag tag;
  tag.major = major;
  const Bytes title = id3v2Frame(major, major < 3 ? "TT2" : "TIT2", {0, 'a', 'b', 'c'});
  return tag.around(concat({title, id3v2Picture(major, noise(cover)), title, filler(500)}));
}

/// With an extended header, a footer, and a frame that claims more than the tag holds.
Bytes damagedTag() {
  Id3v2Tag tag;
  tag.major = 4;
  tag.flags = 0x50;
  const Bytes title = id3v2Frame(4, "TIT2", {0, 'a', 'b', 'c'});
  return tag.around(concat({syncSafe(6), filler(6), title, id3v2Frame(4, "TALB", filler(50), syncSafe(9999))}));
}

std::vector<FaultSample> mp3Samples() {
  const Bytes lame = infoFrame(concat({XingHeader{"Info", 0xf, 5000, 2000000}.bytes(), lameExtension(1, 128)}));
  return {
      {"mp3_plain", mp3({}), {}},
      {"mp3_xing", mp3(lame), {}},
      {"mp3_vbri", mp3(infoFrame(vbriHeader(2000000, 5000), vbriOffset)), {}},
      {"mp3_version_2_tag", mp3(concat({tagged(2, 3000), lame})), {}},
      {"mp3_version_3_tag", mp3(concat({tagged(3, 3000), lame})), {}},
      {"mp3_tag_beyond_the_head", mp3(concat({tagged(4, beyondTheHead), lame})), {}, true},
      {"mp3_frames_late", mp3(noise(2500)), {}},
      {"mp3_damaged_tag", concat({damagedTag(), mpegFrames(3)}), {}},
      {"mp3_short_behind_junk", concat({noise(50), MpegHeader().bytes(), noise(50), mpegFrames(5)}), {}},
  };
}

// ---- ADTS ----

Bytes adts(unsigned rawDataBlocks = 0, bool hasChecksum = false, size_t frames = 18) {
  AdtsFrame frame;
  frame.length = 700;
  frame.rawDataBlocks = rawDataBlocks;
  frame.protectionAbsent = hasChecksum ? 0 : 1;
  return adtsFrames(frames, frame);
}

std::vector<FaultSample> adtsSamples() {
  return {
      {"adts_plain", adts(), {}},
      {"adts_checksum", adts(0, true, 3), {}},
      {"adts_checksum_and_blocks", adts(3, true), {}},
      {"adts_behind_junk", concat({noise(700), {0xff, 0xf1, 0x75}, noise(300), adtsFrame(), noise(300), adts()}), {}},
      {"adts_radio", adts(), headerOf("audio/aacp", "icy-br: 128")},
      {"adts_radio_overflow", adts(0, false, 3), headerOf("audio/aacp", "icy-br: 9999999999999999999999")},
      {"adts_radio_with_titles", icyStream(adts(), 1000, {"StreamTitle='One';", "", "StreamTitle='Two';"}),
       headerOf("audio/aacp", "icy-metaint: 1000"), false, true},
  };
}

// ---- FLAC ----

FlacBlock comments() { return {FlacVorbisComment, noise(300)}; }

FlacBlock cover(size_t bytes) {
  FlacCover cover;
  cover.data = noise(bytes);
  return flacPicture(cover);
}

FlacProperties ofUnknownLength() {
  FlacProperties properties;
  properties.totalSamples = 0;
  return properties;
}

FlacProperties withoutRate() {
  FlacProperties properties;
  properties.sampleRate = 0;
  return properties;
}

FlacProperties withSmallBlocks() {
  FlacProperties properties;
  properties.minBlockSize = 15;
  return properties;
}

std::vector<FaultSample> flacSamples() {
  const FlacBlock info = flacStreaminfo();
  return {
      {"flac_plain", flacFile({info, comments()}, notSmall), {}},
      {"flac_picture", flacFile({info, cover(3000), flacPadding(500), cover(200)}, notSmall), {}},
      {"flac_picture_beyond_the_head", flacFile({info, cover(beyondTheHead), comments()}, notSmall), {}, true},
      {"flac_padding_beyond_the_head", flacFile({info, flacPadding(beyondTheHead), cover(200)}, notSmall), {}, true},
      {"flac_unknown_length", flacFile({flacStreaminfo(ofUnknownLength()), comments()}, notSmall), {}, true},
      {"flac_behind_false_marker",
       concat({flacMetadata({flacStreaminfo(withoutRate())}), flacFile({info, comments()}, notSmall)}),
       {}},
      {"flac_broken_streaminfo", flacFile({flacStreaminfo(withSmallBlocks())}, notSmall), {}},
  };
}

// ---- WAV, PCM ----

/// 8000 bytes of sound per second, so that it lasts longer than nothing.
WavFormat telephone() { return {1, 1, 8000, 8000, 1, 8}; }

Bytes wavWithList() {
  const Bytes list = riffChunk("LIST", concat({text("INFO"), riffChunk("INAM", noise(200))}));
  const Bytes begin = concat({riffHeader("WAVE", notSmall - 8), list, wavFormat(telephone())});
  return concat({begin, filler(notSmall - begin.size())});
}

Bytes wavOfFloats() {
  WavFormat format = telephone();
  format.audioFormat = 3;
  return wavFile(notSmall, format);
}

std::vector<FaultSample> pcmSamples() {
  const std::deque<std::string> l16 = headerOf("audio/L16;rate=44100;channels=2");
  return {
      {"wav_plain", wavFile(notSmall, telephone()), {}, true},
      {"wav_with_list", wavWithList(), {}, true},
      {"wav_of_floats", wavOfFloats(), {}},
      {"wav_of_other_form", concat({riffHeader("AVI "), wavFormat(), filler(500)}), {}},
      {"wav_small", wavFile(5000, telephone()), {}, true},
      {"dlna_pcm", noise(twoSecondsOfPcm), l16},
      {"dlna_pcm_without_channels", noise(notSmall), headerOf("audio/L16;channels=x;rate=0")},
      {"dlna_pcm_is_wav", wavFile(notSmall, telephone()), l16, true},
  };
}

// ---- playlists, anything else ----

std::vector<FaultSample> otherSamples() {
  return {
      {"playlist_m3u", text("#EXTM3U\r\n#EXTINF:9,A\r\nhttp://h/a.mp3\r\n"), headerOf("audio/x-mpegurl")},
      {"playlist_asx", text("<asx><entry><ref href=\"http://h/s\"/></entry></asx>"), headerOf("video/x-ms-asf")},
      {"playlist_of_a_url", text("http://h/"), headerOf("video/x-ms-asf")},
      {"playlist_without_target", text("#EXTM3U\n\nhttp://h/\n"), headerOf("audio/x-mpegurl")},
      {"unknown", noise(notSmall), {}},
  };
}

}  // namespace

const std::vector<FaultSample>& faultSamples() {
  static const std::vector<FaultSample> all = [] {
    std::vector<FaultSample> samples;
    for (const std::vector<FaultSample>& some :
         {mp3Samples(), adtsSamples(), flacSamples(), pcmSamples(), otherSamples()}) {
      samples.insert(samples.end(), some.begin(), some.end());
    }
    return samples;
  }();
  return all;
}

}  // namespace quorin_test
