extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include "readers.h"

namespace quorin_bench {

namespace {

class AvformatReader : public Reader {
 public:
  explicit AvformatReader(bool streamInfo) : streamInfo_(streamInfo) { av_log_set_level(AV_LOG_QUIET); }

  bool read(const std::string& path) override {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) != 0) {
      return false;
    }
    const bool informed = !streamInfo_ || avformat_find_stream_info(context, nullptr) >= 0;
    // Without the stream info the rate of a raw stream is not known yet: that it has a stream has to do.
    const bool found =
        informed && context->nb_streams > 0 && (!streamInfo_ || context->streams[0]->codecpar->sample_rate > 0);
    avformat_close_input(&context);
    return found;
  }

 private:
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
