#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "read_list.h"

/// @file
/// Who reads the library: ours, the peers that were found when this was built, and the floor.

namespace quorin_bench {

/// Somebody who finds out what a file is. Each thread makes its own.
class Reader {
 public:
  virtual ~Reader() = default;

  /// @return whether it found an audio stream with a sampling rate
  /// @throws std::runtime_error from ours and the floor when they could not do their work
  virtual bool read(const Item& item) = 0;
};

using ReaderMaker = std::function<std::unique_ptr<Reader>()>;

/// What is known of a reader before it is made.
struct ReaderKind {
  std::string name;
  ReaderMaker make;
};

ReaderKind oursReader();

/// The system calls that stand in the file `calls` for the path of each item, and nothing else.
ReaderKind floorReader(const std::string& calls, const std::vector<Item>& items);

// The peers; each of these exists only where its library was found when this was built.
ReaderKind tagLibReader();
ReaderKind avformatReader();
ReaderKind avformatStreamInfoReader();
ReaderKind mpg123Reader();
ReaderKind sndfileReader();

/// libmediainfo by its C interface; `make` is empty where it is not installed.
ReaderKind mediaInfoReader();

}  // namespace quorin_bench
