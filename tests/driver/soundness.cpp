#include "soundness.h"

#include "framework/status.h"
#include "quorin/audio_info.h"

namespace quorin_test {

namespace {

using namespace zu::md::common::quorin;

unsigned char firstByteOf(int mediaType) {
  return mediaType == MEDIA_TYPE_WAV ? 'R' : mediaType == MEDIA_TYPE_FLAC ? 'f' : 0xff;
}

bool beginsAt(size_t start, int mediaType, const SourceScript& script) {
  return start < script.bytes.size() && script.bytes[start] == firstByteOf(mediaType);
}

/// Bytes of the ID3v2 tag that was met; 0 for none. When it cannot be walked to its end, frames are looked for from the
/// start of the stream on, and yet counted from behind it.
size_t brokenTag(const Analysis& analysis) {
  constexpr char told[] = "tagLength: ";
  const size_t found = analysis.log.find(told);
  return found == std::string::npos ? 0 : std::stoul(analysis.log.substr(found + sizeof told - 1));
}

/// What is wrong with the places that an answer tells; empty when they lie within the stream.
std::string wrongPlaces(const Analysis& analysis, const SourceScript& script) {
  const auto start = static_cast<size_t>(analysis.number("data_start"));
  const auto mediaType = static_cast<int>(analysis.number("media_type"));
  if (mediaType == MEDIA_TYPE_LPCM) {
    if (start != 0) {
      return "PCM does not begin with the first byte";
    }
  } else if (!beginsAt(start, mediaType, script) && !beginsAt(start - brokenTag(analysis), mediaType, script)) {
    return "the audio data does not begin at " + std::to_string(start);
  }
  if (!analysis.value("data_end").empty() && analysis.number("data_end") >= toldSize(script)) {
    return "the audio data ends behind the item";
  }
  for (size_t at = analysis.answer.find("\npicture "); at != std::string::npos;
       at = analysis.answer.find("\npicture ", at + 1)) {
    if (std::stoll(analysis.answer.substr(at + 9)) > static_cast<long long>(script.bytes.size())) {
      return "a picture begins behind the item";
    }
  }
  return "";
}

}  // namespace

long long toldSize(const SourceScript& script) {
  return script.declaredSize >= 0 ? script.declaredSize : static_cast<long long>(script.bytes.size());
}

std::string unsoundness(const Analysis& analysis, const SourceScript& script) {
  const AnalyzeResult& result = *analysis.result;
  if (!result.info || !result.strell) {
    return "the answer is not complete";
  }
  const bool isAudio = dynamic_cast<const AudioInfo*>(result.info.get()) != nullptr;
  const bool isRedirect = dynamic_cast<const RedirectInfo*>(result.info.get()) != nullptr;
  if (analysis.status != (isAudio || isRedirect ? STATUS_OK : STATUS_NOT_THIS_FORMAT)) {
    return "the status does not fit the answer";
  }
  return isAudio ? wrongPlaces(analysis, script) : "";
}

}  // namespace quorin_test
