#pragma once

#include "item/record.h"

namespace quorin_command {

/// An MP3 of which everything is known.
inline Record sampleAudio() {
  Record record;
  record.name = "01 Opening.mp3";
  record.uri = "/music/01 Opening.mp3";
  record.kind = Kind::Audio;
  record.code = 0;
  record.mimeType = "audio/mpeg";
  AudioRecord audio;
  audio.mediaType = library::MEDIA_TYPE_MP3;
  audio.sampleRate = 44100;
  audio.bitRate = 52000;
  audio.channels = 2;
  audio.duration = _obqOsalTime_struct{600, 5000};
  audio.frameSize = 417;
  audio.dataStart = 1651147;
  audio.timeCalcStart = 1651147;
  audio.dataEnd = 5549358;
  audio.canSeek = audio.canPause = audio.canSetSpeed = true;
  audio.pictures = {{53, 1646592}};
  record.audio = audio;
  record.playPosition = 1651147;
  record.cost.bytes = 8397;
  record.cost.reads = 3;
  record.elapsedMicroseconds = 412;
  return record;
}

inline Record sampleRedirect() {
  Record record;
  record.name = record.uri = "http://host/list.m3u";
  record.kind = Kind::Redirect;
  record.code = 0;
  record.mimeType = "application/redirect";
  record.redirect = RedirectRecord{"audio/x-mpegurl", {"http://host/song.mp3"}};
  record.cost = {100, 1, 1};
  record.elapsedMicroseconds = 1500;
  return record;
}

/// An MP3 behind two redirects.
inline Record sampleFollowed() {
  Record record = sampleAudio();
  record.name = "http://host/list.asx";
  record.uri = "http://host/song.mp3";
  record.via = {"http://host/list.asx", "http://host/list.m3u"};
  return record;
}

inline Record sampleError() {
  Record record;
  record.name = "song.mp3";
  record.uri = "/music/song.mp3";
  record.kind = Kind::Error;
  record.code = -296;
  record.error = ItemError{"not_found", "no such file or directory"};
  return record;
}

}  // namespace quorin_command
