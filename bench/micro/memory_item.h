#pragma once

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "md/url.h"
#include "strell/strell.h"
#include "support/adts_builder.h"
#include "support/bytes.h"
#include "support/flac_builder.h"
#include "support/id3_bytes.h"
#include "support/mpeg_bytes.h"
#include "support/wav_builder.h"

namespace quorin_bench {

using quorin_test::Bytes;

struct MemoryItem {
  std::string name;
  Bytes bytes;
  std::string contentType = {};  ///< as a server would tell it; empty for an item that is not served
};

/// Bytes of memory, delivered without any book-keeping that would be measured too.
template <typename Base>
class MemorySource : public Base {
 public:
  explicit MemorySource(const Bytes& bytes) : bytes_(bytes) {}

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    const auto left = static_cast<size_t>(std::max(0LL, static_cast<long long>(bytes_.size()) - position_));
    bytesRead = static_cast<unsigned int>(std::min<size_t>(length, left));
    if (bytesRead != 0) {
      std::memcpy(buffer, bytes_.data() + position_, bytesRead);
    }
    position_ += bytesRead;
    return 0;
  }
  int seek(long long offset) override {
    position_ = offset;
    return 0;
  }
  int tell(long long& offset) override {
    offset = position_;
    return 0;
  }
  int size(long long& bytes) override {
    bytes = static_cast<long long>(bytes_.size());
    return 0;
  }
  int getSeekable(bool& seekable) override {
    seekable = true;
    return 0;
  }

 private:
  const Bytes& bytes_;
  long long position_ = 0;
};

class ServedMemorySource : public MemorySource<md::HttpAccess> {
 public:
  explicit ServedMemorySource(const MemoryItem& item) : MemorySource(item.bytes), contentType_(item.contentType) {}

  int getHeaderList(std::deque<std::string>& lines) override {
    lines = {"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType_ + "\r\n"};
    return 0;
  }

 private:
  const std::string& contentType_;
};

inline boost::shared_ptr<MdchUrlBase> sourceOf(const MemoryItem& item) {
  if (item.contentType.empty()) {
    return boost::make_shared<MemorySource<MdchUrlBase>>(item.bytes);
  }
  return boost::make_shared<ServedMemorySource>(item);
}

inline Bytes adtsFramesOf(unsigned length, size_t count) {
  quorin_test::AdtsFrame frame;
  frame.length = length;
  return quorin_test::adtsFrames(count, frame);
}

/// An item of each kind; 1.5 MB covers among them.
inline const std::vector<MemoryItem>& memoryItems() {
  using namespace quorin_test;
  constexpr size_t cover = 1500000;
  static const std::vector<MemoryItem> items = {
      {"mp3", mpegFrames(300)},
      {"mp3_tagged", concat({Id3v2Tag().around(id3v2Frame(3, "TIT2", text("Opening"))), mpegFrames(300), id3v1Tag()})},
      {"mp3_cover_1.5m", concat({Id3v2Tag().around(id3v2Picture(3, noise(cover))), mpegFrames(300)})},
      {"adts", adtsFramesOf(371, 300)},         // 128 kbit/s
      {"false_syncs", adtsFramesOf(16, 5000)},  // each is one to the analyzer of MP3, which is asked first
      {"flac", flacFile({flacStreaminfo(), flacPadding(8192)}, 100000)},
      {"flac_cover_1.5m", flacFile({flacStreaminfo(), flacPicture({3, "image/png", "cover", noise(cover)})}, 100000)},
      {"wav", wavFile(100000)},
      {"dlna_pcm", noise(200000), "audio/L16;rate=44100;channels=2"},
      {"unrecognised_text", noise(200000)},
      {"unrecognised_noise", testBytes(200000)},
  };
  return items;
}

inline boost::shared_ptr<zu::md::common::strell::Strell> opened(const MemoryItem& item) {
  auto strell = boost::make_shared<zu::md::common::strell::Strell>();
  strell->attach(sourceOf(item));
  return strell;
}

}  // namespace quorin_bench
