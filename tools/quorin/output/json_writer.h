#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace quorin_command {

/// Writes JSON straight into text, value by value: a scan writes a hundred thousand records, and building each of them
/// in memory first took five times as long as the analysis. No text gets into it with credentials (credentials.h).
/// @code
///   JsonWriter json;
///   json.object([&] {
///     json.member("name", name);
///     json.name("places");
///     json.array([&] { for (const long long place : places) json.value(place); });
///   });
/// @endcode
class JsonWriter {
 public:
  /// @param members writes what is in the object
  template <typename Members>
  void object(Members members) {
    writer_.StartObject();
    members();
    writer_.EndObject();
  }

  /// @param values writes what is in the array
  template <typename Values>
  void array(Values values) {
    writer_.StartArray();
    values();
    writer_.EndArray();
  }

  /// The name of the value that is written next.
  void name(std::string_view name) { writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }

  /// Bytes that are no UTF-8 read U+FFFD.
  void value(std::string_view text);
  void value(bool truth) { writer_.Bool(truth); }
  template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
  void value(Number number) {
    if constexpr (std::is_signed_v<Number>) {
      writer_.Int64(number);
    } else {
      writer_.Uint64(number);
    }
  }

  template <typename Value>
  void member(std::string_view called, const Value& value) {
    name(called);
    this->value(value);
  }

  /// The member if there is a value, else nothing.
  template <typename Value>
  void known(std::string_view called, const std::optional<Value>& value) {
    if (value) {
      member(called, *value);
    }
  }

  /// A name of the file system: under `called` as it is, or as base64 under "path_b64".
  void fileName(std::string_view called, const std::string& name);

  /// What was written so far.
  std::string_view text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

 private:
  /// More than most records take.
  static constexpr size_t firstCapacity = 1024;

  /// @param text UTF-8
  void write(std::string_view text);

  rapidjson::StringBuffer buffer_{nullptr, firstCapacity};
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

/// Whether bytes are text that JSON can tell as it is.
bool isUtf8(std::string_view text);

}  // namespace quorin_command
