#pragma once

/// @file
/// Media access: one opened source with a cache of its bytes, as analyzers and players use it.
///
/// @code
///   zu::md::common::strell::Strell strell;
///   strell.attach(url);                               // from mdch_OpenUrl
///   unsigned char* header = nullptr;
///   if (strell.readDataCache(10, header) == 0) { ... } // the first ten bytes; the read position stays at 0
/// @endcode
///
/// There are two independent positions. The **cache offset** (`setDataCacheOffset`, `readDataCache`) looks at
/// cached bytes; the **read position** (`seek`, `tell`, `readData`) plays the stream. Only `seek` sets both.
///
/// Offsets are absolute stream offsets throughout. Two regions can hold cached bytes:
///  - the **head**, stream bytes [0, H), kept as long as the object lives. H is 65536 for a source that can seek
///    and 1048576 for one that cannot;
///  - the **seek region**, the 65536 bytes from the position of the last successful `seek`, dropped by the next.
/// Both are filled on demand, up to 4096 bytes, 8192, 16384, 24576, 32768, 49152, 65408, 65536, 131072 and so on, and
/// end early at the end of the stream. A source error while filling counts as the end of the region: the bytes before
/// it are usable, and the error is met again by the next fill. Bytes that `readData` reads right behind the head go
/// into the head too, as far as they fit. No region holds bytes beyond offset 4294967294, where the cache offset could
/// not go on.
///
/// ICY metadata: when a response header line is "icy-metaint: N" with N from 1 to 2147483647 (the last such line
/// counts, any other is passed over), the metadata blocks are taken out of the stream. All offsets then count audio
/// bytes only, and each block that holds text is handed out by the `readData` that passes its place: the one that
/// delivers the audio byte behind it, or meets the end or an error there instead. Blocks that were met
/// and not handed out yet take 256 KiB of memory at most; what comes when that is used up is dropped. A block that the
/// end of the stream cuts off is dropped too. Such a stream cannot seek, whatever its source says of itself.
///
/// Every operation returns 0 on success and a negative code on failure: one of the constants below or the
/// source's own code. Before `attach` every operation fails with `NOT_ATTACHED`. An object is used by one thread
/// at a time; its destruction releases the source, so does the next successful `attach`.

#include <array>
#include <boost/scoped_ptr.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "md/export.h"
#include "md/url.h"

/// @namespace zu::md::common::strell
/// Media access: one opened source with its cache.

namespace zu::md::common::strell {

/// What to open and how.
struct OpenParams {
  std::string uri;         ///< path, file:, vdr2://, http://, https:// or a registered scheme
  uint32_t openFlags = 0;  ///< bits 0 to 5 are handed to the URL layer as its open mode
  std::array<std::string, 5>
      options;  ///< handed to the URL layer as texts 0 to 4, see MdchOpenParams; empty: not given
};

/// One ICY metadata block.
struct IcyData {
  long long offset;  ///< audio bytes before the block
  std::string text;  ///< its text, which ends before the first NUL
};

/// Failures of Strell itself. Failures of the source are passed on as they are.
enum Error : int {
  NOT_ATTACHED = -1001,       ///< no source attached
  NO_SOURCE = -1002,          ///< attach was given an empty pointer
  NOT_CACHED = -1003,         ///< the bytes do not lie in one region of the cache
  OFFSET_NOT_CACHED = -1004,  ///< the cache offset was moved to where no region is
  END_OF_STREAM = -1005,      ///< a read that starts at the end of the stream
  NOT_SEEKABLE = -1006,       ///< the source cannot seek, its size is unknown, or it carries ICY metadata
  OUT_OF_RANGE = -1007,       ///< a seek before the start or beyond the end of the stream
  NO_HEADER = -1008,          ///< the source has no response header
  SOURCE_BROKEN = -1009,      ///< the source broke its contract (a failure that is not negative, more bytes than asked)
};

/// One opened source with its cache; see the top of this file.
class MD_API Strell {
 public:
  /// Has no source yet.
  Strell();
  /// Releases the source.
  ~Strell();
  Strell(const Strell&) = delete;
  Strell& operator=(const Strell&) = delete;

  /// Takes an opened source, asks whether it can seek and reads its header lines for ICY. Everything an earlier
  /// source left is forgotten. A source whose `getSeekable` fails counts as one that cannot seek. One that was read
  /// before is played from its start if it can seek, else from where it stands.
  /// @param url the source, kept alive as long as it is attached
  /// @return `NO_SOURCE` for an empty pointer, else 0
  int attach(boost::shared_ptr<MdchUrlBase> url);

  /// Delivers `length` bytes at the cache offset and moves the offset behind them.
  /// @param length bytes wanted
  /// @param data receives a pointer that is good until the next call on this object; null on failure. For length
  ///        0 at a valid offset it is not null.
  /// @return `NOT_CACHED` when the bytes do not all lie in one region, `OFFSET_NOT_CACHED` after a failed
  ///   `setDataCacheOffset`; the cache offset stays then
  int readDataCache(unsigned int length, unsigned char*& data);

  /// Shows the bytes at the cache offset that are at hand without asking the source. The offset stays. A platform
  /// that cannot tell may always show none; callers then go through `readDataCache`, which scans slower and reads the
  /// same bytes. One that has no such operation at all defines STRELL_WITHOUT_PEEK for all that is built over it, and
  /// needs not implement it.
  /// @param length number of bytes shown, 0 when there are none at hand
  /// @return pointer to them, good until the next call on this object; null when `length` is 0
#ifdef STRELL_WITHOUT_PEEK
  const unsigned char* peekDataCache(unsigned int& length) {
    length = 0;
    return nullptr;
  }
#else
  const unsigned char* peekDataCache(unsigned int& length);
#endif

  /// The cache offset.
  /// @return bytes from the start of the stream; 0 before `attach`
  unsigned int getDataCacheOffset();

  /// Moves the cache offset, always. Succeeds when `offset` lies in the head or the seek region or at the end of
  /// one, for which that region is filled as far as `offset`; otherwise fails, and so does every `readDataCache` until
  /// the offset is moved again.
  /// @param offset bytes from the start of the stream
  /// @return 0 or `OFFSET_NOT_CACHED`
  int setDataCacheOffset(unsigned int offset);

  /// Reads `length` bytes at the read position, waiting until they are there, the stream ends or an error comes.
  /// @param buffer receives them
  /// @param length bytes wanted
  /// @param bytesRead bytes delivered, also on failure; fewer than `length` with status 0 only at the end
  /// @param icy receives, appended, the metadata blocks that were passed
  /// @return `END_OF_STREAM` for a call at the end; the source's error after the bytes that came before it; 0 without
  ///   asking the source for `length` 0
  int readData(unsigned char* buffer, unsigned int length, unsigned int& bytesRead, std::vector<IcyData>& icy);

  /// The read position: 0 after `attach`. Does not ask the source.
  /// @param offset receives it, in bytes from the start of the stream
  /// @return 0, or `NOT_ATTACHED`
  int tell(long long& offset);

  /// Moves the read position, starts an empty seek region there and moves the cache offset there too when it fits
  /// 32 bits. The source is asked to seek at once. A failed call changes nothing.
  /// @param offset 0 to the size, in bytes from the start of the stream
  /// @return 0, `NOT_SEEKABLE`, `OUT_OF_RANGE` or the source's error
  int seek(long long offset);

  /// The source's size, ICY metadata included; fails when unknown.
  /// @param bytes receives it
  /// @return 0, or the source's error
  int size(long long& bytes);

  /// Whether the source says that it can seek.
  /// @param seekable receives the answer
  /// @return 0, or the source's error
  int getSeekable(bool& seekable);

  /// Tells the HTTP response header.
  /// @param lines replaced by the lines, status line first, line ends kept; untouched on failure
  /// @return 0; `NO_HEADER` when the source has none; the source's error
  int getHeaderList(std::deque<std::string>& lines);

  /// What the attached source has cost so far.
  /// @return zeros before `attach`
  UrlCost cost() const;

 private:
  class Impl;
  boost::scoped_ptr<Impl> impl_;
};

}  // namespace zu::md::common::strell
