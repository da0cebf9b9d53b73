#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "item/errors.h"
#include "md/url.h"
#include "obq/time.h"
#include "quorin/analyze_result.h"
#include "quorin/audio_info.h"

namespace quorin_command {

namespace library = zu::md::common::quorin;

enum class Kind { Audio, Redirect, Folder, Unknown, Error };

/// The values of an audio stream as the library tells them; absent means not known. Offsets in bytes of the stream.
struct AudioRecord {
  std::optional<library::MediaType_t> mediaType;
  std::optional<int> sampleRate;  ///< Hz
  std::optional<int> bitRate;     ///< bit/s
  std::optional<int> channels;
  std::optional<_obqOsalTime_struct> duration;
  std::optional<int> frameSize;  ///< bytes
  std::optional<long long> dataStart;
  std::optional<long long> timeCalcStart;
  std::optional<long long> dataEnd;  ///< last audio byte, inclusive
  bool canSeek = false;
  bool canSetSpeed = false;
  bool canPause = false;
  std::vector<library::EmbeddedPicture> pictures;
};

struct RedirectRecord {
  std::string contentType;
  std::list<std::string> urls;
};

/// The error of an item that is known, but is no audio.
ItemError notAudio(Kind kind);

/// What tells whether a file has changed.
struct FileStamp {
  long long size;     ///< bytes
  long long seconds;  ///< of its last modification, since 1970
  long nanoseconds;   ///< of the same
};

/// Everything that is told about one item; what every output is made of.
struct Record {
  std::string name;              ///< as the user gave it
  std::string uri;               ///< as it was analysed; behind redirects the last one
  std::vector<std::string> via;  ///< the URIs that led there, the first one in front; empty without redirects
  Kind kind = Kind::Error;
  std::optional<int> code;  ///< what the library returned
  std::string mimeType;     ///< empty: not known
  std::optional<AudioRecord> audio;
  std::optional<RedirectRecord> redirect;
  std::optional<long long> playPosition;
  std::optional<FileStamp> file;  ///< told by scans, of regular files
  std::optional<ItemError> error;
  UrlCost cost;
  long long elapsedMicroseconds = 0;
};

/// Puts what the library found out into a record: kind, type, and what the kind has to tell.
/// @param result may be empty, as may be what is in it
void describe(const library::AnalyzeResult* result, Record& record);

/// Makes it the record of an item with which something went wrong; it tells no more what it is good for.
void fail(Record& record, ItemError error);

/// Whether something went wrong with an item, be it that it was opened and then broke. What is merely not recognised is
/// no failure.
bool hasFailed(const Record& record);

/// The same, of a record that was written.
/// @param cause the name of its error; empty: none
bool hasFailed(Kind kind, std::string_view cause);

/// The URIs of an item from the one that was named to the one where its redirects end, also when the last step was
/// refused. Empty when there are no redirects.
std::vector<std::string> chainOf(const Record& record);

/// Whether a picture lies inside its stream; a damaged tag may say anything.
/// @param size of the stream, when it is known
bool liesInside(const library::EmbeddedPicture& picture, std::optional<long long> size);

}  // namespace quorin_command
