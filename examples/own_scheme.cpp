// own_scheme URI: teaches the platform the scheme "tone:", whose items are computed: "tone:440" is a second of 440 Hz
// as WAV. Then analyses URI and reads it to its end.

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "md/url.h"
#include "quorin/analyzer.h"
#include "quorin/audio_info.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

/// A source whose bytes lie in memory. The class MdchUrlBase tells what every source has to keep to.
class MemorySource : public MdchUrlBase {
 public:
  explicit MemorySource(std::string bytes) : bytes_(std::move(bytes)) {}

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    const unsigned long long left = bytes_.size() - std::min<unsigned long long>(position_, bytes_.size());
    bytesRead = static_cast<unsigned int>(std::min<unsigned long long>(length, left));
    if (bytesRead != 0) {
      std::memcpy(buffer, bytes_.data() + position_, bytesRead);
    }
    position_ += bytesRead;
    return 0;  // with 0 bytes: the end
  }

  int seek(long long offset) override {
    if (offset < 0) {
      return badOffset;  // failures are negative
    }
    position_ = static_cast<unsigned long long>(offset);  // beyond the end is fine, too
    return 0;
  }

  int tell(long long& offset) override {
    offset = static_cast<long long>(position_);
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
  static constexpr int badOffset = -22;

  const std::string bytes_;
  unsigned long long position_ = 0;
};

void append(std::string& bytes, uint32_t number, int size) {
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>(number >> 8 * i & 0xFF);
  }
}

/// A WAV file of a second, 16 bit, one channel.
std::string tone(double hertz) {
  constexpr uint32_t rate = 44100;
  std::string bytes = "RIFF";
  append(bytes, 36 + 2 * rate, 4);
  bytes += "WAVEfmt ";
  append(bytes, 16, 4);
  append(bytes, 1, 2);  // PCM
  append(bytes, 1, 2);
  append(bytes, rate, 4);
  append(bytes, 2 * rate, 4);
  append(bytes, 2, 2);
  append(bytes, 16, 2);
  bytes += "data";
  append(bytes, 2 * rate, 4);
  for (uint32_t i = 0; i < rate; ++i) {
    const double sample = 10000 * std::sin(2 * 3.14159265358979 * hertz * i / rate);
    append(bytes, static_cast<uint32_t>(static_cast<int32_t>(sample)), 2);
  }
  return bytes;
}

/// Opens "tone:HERTZ". Called by any thread that opens such an item.
int openTone(const std::string& uri, const MdchOpenParams& /*params*/, boost::shared_ptr<MdchUrlBase>& url) {
  constexpr int noSuchItem = 2;  // the codes of mdch_OpenUrl
  constexpr int badUri = 22;
  const std::string number = uri.substr(uri.find(':') + 1);
  if (number.empty() || number.size() > 9 || number.find_first_not_of("0123456789") != std::string::npos) {
    return badUri;
  }
  const int hertz = std::stoi(number);
  if (hertz < 20 || hertz > 20000) {
    return noSuchItem;  // nobody could hear it
  }
  url = boost::make_shared<MemorySource>(tone(hertz));
  return 0;
}

int run(const std::string& uri) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = uri;
  boost::shared_ptr<quorin::AnalyzeResult> result;
  int status = analyzer.analyze(params, result);
  if (!result || !result->info || !result->strell) {
    std::cerr << uri << ": cannot be opened (" << status << ")\n";
    return EXIT_FAILURE;
  }
  unsigned long long bytes = 0;
  unsigned got = 0;
  std::vector<unsigned char> buffer(65536);
  std::vector<strell::IcyData> metadata;
  do {
    status = result->strell->readData(buffer.data(), static_cast<unsigned>(buffer.size()), got, metadata);
    bytes += got;
  } while (status == 0);
  if (status != strell::END_OF_STREAM) {
    std::cerr << uri << ": cannot be read (" << status << ")\n";
    return EXIT_FAILURE;
  }
  std::cout << uri << ": " << result->info->mimeType << ", " << bytes << " bytes\n";
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: own_scheme URI\n";
    return EXIT_FAILURE;
  }
  md::registerUrlScheme("tone", openTone);
  const int status = run(argv[1]);
  md::registerUrlScheme("tone", md::UrlOpener());  // nobody opens such items any more
  return status;
}
