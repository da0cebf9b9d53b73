extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <algorithm>

#include "readers.h"

namespace quorin_bench {

namespace {

class AvformatReader : public Reader {
 public:
  explicit AvformatReader(bool streamInfo) : streamInfo_(streamInfo) { av_log_set_level(AV_LOG_QUIET); }

  bool read(const Item& item) override {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, item.path.c_str(), nullptr, nullptr) != 0) {
      return false;
    }
    const bool informed = !streamInfo_ || avformat_find_stream_info(context, nullptr) >= 0;
    const bool found = informed && hasAudio(*context);
    avformat_close_input(&context);
    return found;
  }

 private:
  /// A picture is a stream, too, hence the type. Without the stream info the rate of a raw stream is not known yet:
  /// that the stream is there has to do.
  bool hasAudio(const AVFormatContext& context) const {
    return std::any_of(context.streams, context.streams + context.nb_streams, [this](const AVStream* stream) {
      return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && (!streamInfo_ || stream->codecpar->sample_rate > 0);
    });
  }

  bool streamInfo_;
};

}  // namespace

ReaderKind avformatReader() {
  return {"libavformat open", [] { return std::make_unique<AvformatReader>(false); }};
}

ReaderKind avformatStreamInfoReader() {
  return {"libavformat", [] { return std::make_unique<AvformatReader>(true); }};
}

}  // namespace quorin_bench
