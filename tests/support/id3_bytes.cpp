#include "support/id3_bytes.h"

namespace quorin_test {

Bytes Id3v2Tag::around(const Bytes& body) const {
  const Bytes size = syncSafe(declaredSize.value_or(static_cast<uint32_t>(body.size())));
  Bytes tag = concat({text("ID3"), {major, revision, flags}, size, body});
  if ((flags & 0x10U) != 0) {
    tag = concat({tag, text("3DI"), {major, revision, flags}, size});
  }
  return tag;
}

Bytes id3v2Frame(unsigned major, std::string_view identifier, const Bytes& body, std::optional<Bytes> declaredSize) {
  const auto length = static_cast<uint32_t>(body.size());
  if (major < 3) {
    return concat({text(identifier), declaredSize.value_or(bigEndian(length, 3)), body});
  }
  const Bytes size = declaredSize.value_or(major == 3 ? bigEndian(length, 4) : syncSafe(length));
  return concat({text(identifier), size, {0, 0}, body});
}

Bytes apicPreface(std::string_view mimeType, std::string_view description) {
  return concat({{0}, text(mimeType), {0, 3}, text(description), {0}});
}

Bytes picPreface(std::string_view format, std::string_view description) {
  return concat({{0}, text(format), {3}, text(description), {0}});
}

Bytes id3v2Picture(unsigned major, const Bytes& picture) {
  return major < 3 ? id3v2Frame(major, "PIC", concat({picPreface(), picture}))
                   : id3v2Frame(major, "APIC", concat({apicPreface(), picture}));
}

Bytes id3v1Tag(std::string_view title) {
  Bytes tag = concat({text("TAG"), text(title)});
  tag.resize(128);
  return tag;
}

}  // namespace quorin_test
