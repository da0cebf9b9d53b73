// The walk over an ID3v2 tag: it ends, and pictures begin within what the tag claims. Their lengths may be wrong:
// frames too short for their fields say so.

#include <boost/make_shared.hpp>
#include <list>

#include "formats/id3v2_walk.h"
#include "fuzzed_item.h"
#include "require.h"

using namespace quorin_test;
using namespace zu::md::common;

namespace {

constexpr long long mostOfFields = 8300;  // bytes: what is looked at of MIME type and description, and what is between

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzedItem item(FuzzInput(data, size));
  const LogCapture log;
  strell::Strell strell;
  strell.attach(item.source());
  std::list<quorin::EmbeddedPicture> pictures;
  quorin::Id3v2Walk walk(strell, pictures);
  if (!walk.readTagHeader()) {
    require(pictures.empty(), "without a tag there are no pictures");
    return 0;
  }
  const auto end = static_cast<long long>(walk.tagLength());
  walk.walkFrames(end);
  for (const quorin::EmbeddedPicture& picture : pictures) {
    require(picture.offset > 0 && picture.offset <= end + mostOfFields, "a picture begins within its tag");
  }
  return 0;
}
