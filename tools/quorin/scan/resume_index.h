#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>

#include "item/record.h"

namespace quorin_command {

/// Which files the records of an earlier scan tell already.
class ResumeIndex {
 public:
  /// Reads records. What is none is passed over and told, as is a last line that was cut off; records of failures do
  /// not count: those are tried again.
  /// @return what is wrong with the file, if anything
  std::string read(const std::string& path);

  /// Whether the last line was whole. If not, nothing may be written behind it.
  bool endsInALine() const { return endsInALine_; }

  /// Whether a file is told with the very size and time of modification that it has.
  bool tells(const std::string& uri, const FileStamp& file) const;

 private:
  /// Of URI, size and time; 16 bytes per file, whatever the length of its name.
  struct Key {
    uint64_t first;
    uint64_t second;
    bool operator==(const Key& other) const { return first == other.first && second == other.second; }
  };
  struct Hash {
    size_t operator()(const Key& key) const { return static_cast<size_t>(key.first); }
  };
  static Key keyOf(const std::string& uri, const FileStamp& file);

  bool add(const std::string& line);

  std::unordered_set<Key, Hash> keys_;
  bool endsInALine_ = true;
};

}  // namespace quorin_command
