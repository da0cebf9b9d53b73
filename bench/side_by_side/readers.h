#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// @file
/// Who reads the library: ours, the peers that were found when this was built, and the floor.

namespace quorin_bench {

/// One file, and what is measured on it.
struct Item {
  std::string variant;
  std::string part;  ///< "library", or "large" for what is measured but does not count as part of the library
  std::string path;
};

/// The items that a line each of the file `list` names: variant, part and path, with tabs between.
std::vector<Item> readList(const std::string& list);

/// Somebody who finds out what a file is. Each thread makes its own.
class Reader {
 public:
  virtual ~Reader() = default;

  /// @return whether it found an audio stream with a sampling rate
  virtual bool read(const std::string& path) = 0;
};

using ReaderMaker = std::function<std::unique_ptr<Reader>()>;

/// What is known of a reader before it is made.
struct ReaderKind {
  std::string name;
  ReaderMaker make;
};

ReaderKind oursReader();

/// The system calls that stand in the file `calls` for each path, and nothing else.
ReaderKind floorReader(const std::string& calls);

// The peers; each of these exists only where its library was found when this was built.
ReaderKind tagLibReader();
ReaderKind avformatReader();
ReaderKind avformatStreamInfoReader();
ReaderKind mpg123Reader();
ReaderKind sndfileReader();

/// libmediainfo by its C interface; `make` is empty where it is not installed.
ReaderKind mediaInfoReader();

}  // namespace quorin_bench
