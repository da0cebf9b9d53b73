#include "output/json_writer.h"

#include <utf8.h>

#include <iterator>

#include "output/base64.h"
#include "output/credentials.h"

namespace quorin_command {

bool isUtf8(std::string_view text) {
  unsigned char bits = 0;
  for (const char c : text) {
    bits |= static_cast<unsigned char>(c);  // without a way out: the compiler takes many bytes at a time
  }
  return bits < 0x80 || utf8::is_valid(text.begin(), text.end());
}

void JsonWriter::value(std::string_view whole) {
  const std::string text = credentialsHidden(whole);
  if (isUtf8(text)) {
    write(text);
    return;
  }
  std::string readable;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(readable));
  write(readable);
}

void JsonWriter::fileName(std::string_view called, const std::string& name) {
  const std::string shown = credentialsHidden(name);
  const bool isText = isUtf8(shown);
  this->name(isText ? called : "path_b64");
  write(isText ? shown : base64(shown));
}

void JsonWriter::write(std::string_view text) {
  // cppcheck-suppress invalidLifetime ; wherever the text lies, it outlives this call, which copies it
  writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

}  // namespace quorin_command
