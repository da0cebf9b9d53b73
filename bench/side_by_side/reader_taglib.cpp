#include <fileref.h>
#include <tag.h>

#include "readers.h"

namespace quorin_bench {

namespace {

class TagLibReader : public Reader {
 public:
  bool read(const Item& item) override {
    const TagLib::FileRef file(item.path.c_str(), true, TagLib::AudioProperties::Average);
    return !file.isNull() && file.audioProperties() != nullptr && file.audioProperties()->sampleRate() > 0;
  }
};

}  // namespace

ReaderKind tagLibReader() {
  return {"TagLib", [] { return std::make_unique<TagLibReader>(); }};
}

}  // namespace quorin_bench
