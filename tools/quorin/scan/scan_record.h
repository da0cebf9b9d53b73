#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "item/record.h"

namespace quorin_command {

/// What a report takes from the record of an item. Strings hold what strangers wrote.
struct ScanRecord {
  std::string name;  ///< its URI; bytes, not always UTF-8
  Kind kind = Kind::Error;
  std::string format;  ///< in words; empty: not known
  std::string note;    ///< where it leads to, came from, or what is wrong with it
  std::string cause;   ///< the error's name for programs; empty: no error
  std::optional<long long> milliseconds;
  std::optional<long long> bitRate;     ///< bit/s
  std::optional<long long> sampleRate;  ///< Hz
  std::optional<long long> channels;
  std::optional<long long> size;          ///< of the file, bytes
  std::optional<long long> pictures;      ///< how many
  std::optional<long long> pictureBytes;  ///< of all of them
  std::optional<long long> bytesRead;
  std::optional<long long> microseconds;  ///< that the look at it took
};

/// Why a line cannot be used, for people.
struct NotARecord {
  std::string reason;
};

/// Reads a line that `jsonLine` has written, be it in an older or a newer version of the program.
std::variant<ScanRecord, NotARecord> scanRecord(std::string_view line);

}  // namespace quorin_command
