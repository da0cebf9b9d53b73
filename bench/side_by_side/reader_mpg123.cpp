#include <mpg123.h>

#include "readers.h"

namespace quorin_bench {

namespace {

class Mpg123Reader : public Reader {
 public:
  Mpg123Reader() : handle_(mpg123_new(nullptr, nullptr)) {
    mpg123_param(handle_, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_SKIP_ID3V2, 0);
  }
  ~Mpg123Reader() override { mpg123_delete(handle_); }
  Mpg123Reader(const Mpg123Reader&) = delete;
  Mpg123Reader& operator=(const Mpg123Reader&) = delete;

  bool read(const Item& item) override {
    if (mpg123_open(handle_, item.path.c_str()) != MPG123_OK) {
      return false;
    }
    long rate = 0;
    int channels = 0;
    int encoding = 0;
    const bool found =
        mpg123_getformat(handle_, &rate, &channels, &encoding) == MPG123_OK && rate > 0 && mpg123_length(handle_) > 0;
    mpg123_close(handle_);
    return found;
  }

 private:
  mpg123_handle* handle_;
};

}  // namespace

ReaderKind mpg123Reader() {
  mpg123_init();
  return {"mpg123", [] { return std::make_unique<Mpg123Reader>(); }};
}

}  // namespace quorin_bench
