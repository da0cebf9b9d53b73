#include "strell/audio_stream.h"

namespace zu::md::common::strell {

AudioStream::AudioStream(CheckedSource& source, unsigned int metaint) : source_(source) {
  if (metaint != 0) {
    icy_.emplace(metaint);
  }
}

int AudioStream::read(long long offset, unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  return icy_ ? readSeparated(buffer, length, bytesRead) : source_.readAt(offset, buffer, length, bytesRead);
}

void AudioStream::handOutIcy(long long last, std::vector<IcyData>& icy) {
  if (icy_) {
    icy_->handOut(last, icy);
  }
}

int AudioStream::readSeparated(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  bytesRead = 0;
  int status = 0;
  unsigned int raw = 0;
  do {
    status = source_.readAt(rawOffset_, buffer, length, raw);
    rawOffset_ += raw;
    bytesRead = icy_->separate(buffer, raw);
  } while (status == 0 && raw != 0 && bytesRead == 0);
  return status;
}

}  // namespace zu::md::common::strell
