#include <sndfile.h>

#include "readers.h"

namespace quorin_bench {

namespace {

class SndfileReader : public Reader {
 public:
  bool read(const Item& item) override {
    SF_INFO info = {};
    SNDFILE* const file = sf_open(item.path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
      return false;
    }
    sf_close(file);
    return info.samplerate > 0;
  }
};

}  // namespace

ReaderKind sndfileReader() {
  return {"libsndfile", [] { return std::make_unique<SndfileReader>(); }};
}

}  // namespace quorin_bench
