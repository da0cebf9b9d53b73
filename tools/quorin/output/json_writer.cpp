#include "output/json_writer.h"

#include <utf8.h>

#include <iterator>

#include "output/base64.h"

namespace quorin_command {

bool isUtf8(std::string_view text) { return utf8::is_valid(text.begin(), text.end()); }

void JsonWriter::value(std::string_view text) {
  if (isUtf8(text)) {
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return;
  }
  std::string readable;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(readable));
  writer_.String(readable.data(), static_cast<rapidjson::SizeType>(readable.size()));
}

void JsonWriter::fileName(std::string_view called, const std::string& name) {
  if (isUtf8(name)) {
    member(called, std::string_view(name));
  } else {
    member("path_b64", std::string_view(base64(name)));
  }
}

}  // namespace quorin_command
