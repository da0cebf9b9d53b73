#include <dlfcn.h>

#include "readers.h"

namespace quorin_bench {

namespace {

/// The part of the C interface that is used. Its headers are not: their package would take libcurl's away.
struct Interface {
  void* (*create)() = nullptr;
  void (*destroy)(void*) = nullptr;
  size_t (*open)(void*, const char*) = nullptr;
  void (*close)(void*) = nullptr;
  const char* (*get)(void*, int streamKind, size_t stream, const char* parameter, int infoKind,
                     int searchKind) = nullptr;

  bool load() {
    void* const library = dlopen("libmediainfo.so.0", RTLD_NOW | RTLD_LOCAL);
    return library != nullptr && find(library, "MediaInfo_New", create) && find(library, "MediaInfo_Delete", destroy) &&
           find(library, "MediaInfoA_Open", open) && find(library, "MediaInfoA_Close", close) &&
           find(library, "MediaInfoA_Get", get);
  }

 private:
  template <typename Function>
  static bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
  }
};

class MediaInfoReader : public Reader {
 public:
  explicit MediaInfoReader(const Interface& mediaInfo) : mediaInfo_(mediaInfo), handle_(mediaInfo.create()) {}
  ~MediaInfoReader() override { mediaInfo_.destroy(handle_); }
  MediaInfoReader(const MediaInfoReader&) = delete;
  MediaInfoReader& operator=(const MediaInfoReader&) = delete;

  bool read(const Item& item) override {
    constexpr int audio = 2;
    constexpr int text = 1;
    constexpr int byName = 0;
    const bool found = mediaInfo_.open(handle_, item.path.c_str()) != 0 &&
                       *mediaInfo_.get(handle_, audio, 0, "SamplingRate", text, byName) != '\0';
    mediaInfo_.close(handle_);
    return found;
  }

 private:
  Interface mediaInfo_;
  void* handle_;
};

}  // namespace

ReaderKind mediaInfoReader() {
  Interface mediaInfo;
  ReaderMaker make;
  if (mediaInfo.load()) {
    make = [mediaInfo] { return std::make_unique<MediaInfoReader>(mediaInfo); };
  }
  return {"libmediainfo", make};
}

}  // namespace quorin_bench
