#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "strell/strell.h"

namespace zu::md::common::strell {

/// Separates the bytes of an ICY stream into audio and metadata.
///
/// After every `metaint` audio bytes comes a block: one byte with its length in units of 16 bytes, then the text,
/// padded with NULs. Most blocks are empty. It does no I/O, and takes the stream in pieces of any size.
class IcyDemultiplexer {
 public:
  /// Memory for blocks that were met and not handed out yet, in bytes. A head full of real radio has at most a
  /// hundred short titles; a stream that puts a block of 4080 bytes behind every audio byte would need 4 GiB. Blocks
  /// that come when it is used up are dropped.
  static constexpr size_t maxKeptBytes = size_t{256} * 1024;
  /// What a kept block costs besides its text, so that a million tiny ones count.
  static constexpr size_t keptBlockOverhead = 64;

  /// @param metaint above 0
  explicit IcyDemultiplexer(unsigned int metaint) : metaint_(metaint), untilBlock_(metaint) {}

  /// Takes the next `count` bytes of the stream and moves the audio among them to the front of `bytes`. Does not
  /// throw: a block for which there is no memory is dropped.
  /// @return number of audio bytes
  unsigned int separate(unsigned char* bytes, unsigned int count);

  /// Appends the kept blocks with audio offsets up to `last` to `icy` and keeps them no longer.
  void handOut(long long last, std::vector<IcyData>& icy);

 private:
  unsigned int takeAudio(unsigned char* to, const unsigned char* from, unsigned int count);
  unsigned int takeBlock(const unsigned char* from, unsigned int count);
  void addToBlock(const unsigned char* from, unsigned int count);
  void keepBlock();

  unsigned int metaint_;
  unsigned int untilBlock_;     ///< audio bytes before the next length byte
  unsigned int blockLeft_ = 0;  ///< bytes of the current block that are still to come
  long long audioOffset_ = 0;   ///< audio bytes so far
  bool blockLost_ = false;      ///< there was no memory for the current block
  std::string block_;           ///< the current block so far
  std::deque<IcyData> kept_;
  size_t keptBytes_ = 0;
};

}  // namespace zu::md::common::strell
