#include "support/describe.h"

#include <sstream>

#include "quorin/audio_info.h"

namespace quorin_test {

namespace {

using zu::md::common::quorin::AudioInfo;
using zu::md::common::quorin::RedirectInfo;

template <typename Value>
void property(std::ostream& out, const AudioInfo& info, const char* name, int (AudioInfo::*getter)(Value&) const) {
  Value value{};
  if ((info.*getter)(value) == 0) {
    out << name << ' ' << value << '\n';
  }
}

void describeAudio(std::ostream& out, const AudioInfo& info) {
  property(out, info, "sampling_frequency", &AudioInfo::getSamplingFrequency);
  property(out, info, "bitrate", &AudioInfo::getBitrate);
  _obqOsalTime_struct duration = {};
  if (info.getDuration(duration) == 0) {
    out << "duration " << duration.seconds << ' ' << duration.microseconds << '\n';
  }
  property(out, info, "data_start", &AudioInfo::getDataStartOffset);
  property(out, info, "time_calc_start", &AudioInfo::getTimeCalcStartOffset);
  property(out, info, "data_end", &AudioInfo::getDataEndOffset);
  property(out, info, "frame_size", &AudioInfo::getFrameSize);
  property(out, info, "media_type", &AudioInfo::getMediaType);
  property(out, info, "channels", &AudioInfo::getChannels);
  out << "can" << (info.canSeek() ? " seek" : "") << (info.canSetSpeed() ? " speed" : "")
      << (info.canPause() ? " pause" : "") << '\n';
  for (auto picture = info.embeddedPicturesBegin(); picture != info.embeddedPicturesEnd(); ++picture) {
    out << "picture " << picture->offset << ' ' << picture->length << '\n';
  }
}

}  // namespace

std::string describe(const zu::md::common::quorin::Info* info) {
  if (info == nullptr) {
    return "none\n";
  }
  std::ostringstream out;
  out << info->mimeType << '\n';
  if (const auto* audio = dynamic_cast<const AudioInfo*>(info)) {
    describeAudio(out, *audio);
  } else if (const auto* redirect = dynamic_cast<const RedirectInfo*>(info)) {
    out << "content_type " << redirect->contentType << '\n';
    for (const std::string& url : redirect->urls) {
      out << "url " << url << '\n';
    }
  }
  return out.str();
}

}  // namespace quorin_test
