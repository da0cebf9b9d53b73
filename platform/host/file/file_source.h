#pragma once

#include <fcntl.h>

#include <array>
#include <boost/shared_ptr.hpp>
#include <chrono>
#include <optional>

#include "file/unique_fd.h"
#include "md/url.h"
#include "url/time_limits.h"

namespace md::host {

/// How every local item is opened. O_NONBLOCK because opening a FIFO would otherwise wait for its writer, and O_NOCTTY
/// so that a terminal does not take the process over.
constexpr int itemOpenFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// The code of `mdch_OpenUrl` for an errno of opening a local item.
int openCodeOf(int error);

/// Makes the source of an opened local item, which has to be open with `itemOpenFlags`.
/// @param file taken over, and closed on failure
/// @param url receives the source on 0 and is left alone otherwise
/// @return a code of `mdch_OpenUrl`: 22 for a directory
int makeFileSource(UniqueFd file, const TimeLimits& limits, boost::shared_ptr<MdchUrlBase>& url);

/// The bytes of a local item.
///
/// A regular file can seek. It is never mapped into memory: touching a mapped page that was truncated away kills the
/// process. Two things keep an analysis down to a handful of system calls:
///  - The start of the file is read in one go and kept, and so is what was read last: a tag at the start is looked at
///    in several steps, analyses come back to it from wherever they were, and to bytes near those they had before.
///  - A size that was told holds for a moment: an analysis asks for it again and again.
///
/// None of that holds longer than until the end is met: a file may also grow or be truncated while it is played.
///
/// Everything else (FIFO, character or block device) is read from front to end: it cannot seek and has no size. A
/// `read` waits no longer than the limits allow. Such a source stays failed once it has failed, so that a caller with
/// many reads ahead does not wait out the limit each time.
class FileSource : public MdchUrlBase {
 public:
  enum class Kind { regular, stream };

  /// Bytes that are read at once from the start of a file. Most items are recognised by their first few hundred bytes,
  /// and copying more takes longer than the call itself. It is not less because the first picture of a tag may begin
  /// behind 1 KiB of text, and takes 8000 bytes to look at: with these at hand, the frame behind a large picture is
  /// found by the second read, and not by the third.
  static constexpr unsigned int windowCapacity = 9216;

  /// How long a size that was told holds.
  static constexpr std::chrono::milliseconds sizeHolds{500};

  /// @param size of a regular file, as it was just told
  FileSource(UniqueFd file, Kind kind, long long size, const TimeLimits& limits);

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;
  UrlCost cost() const override;

 private:
  using Clock = std::chrono::steady_clock;

  /// The bytes [begin, begin + size) of the file.
  struct Window {
    /// Copies what it holds from a position on. @return bytes; 0 when it holds none
    long long copy(long long position, unsigned char* buffer, size_t length) const;

    long long begin = 0;
    long long size = 0;
    std::array<unsigned char, windowCapacity> bytes;
  };

  /// Both deliver the result of a read(2): bytes, 0 at the end, or a negative code.
  long long readRegular(unsigned char* buffer, size_t length);
  long long readStream(unsigned char* buffer, size_t length);

  /// A read(2) of the file at the position, counted.
  long long readFile(unsigned char* buffer, size_t length);

  std::optional<Clock::time_point> deadline() const;

  const UniqueFd file_;
  const Kind kind_;
  const TimeLimits limits_;
  const Clock::time_point opened_ = Clock::now();
  long long position_ = 0;
  bool atEnd_ = false;  ///< the end was met; it lasts until the next seek, also when the file grows
  long long size_;
  std::chrono::milliseconds sizeTold_;
  bool sizeKnown_ = true;
  int failure_ = 0;  ///< of a stream, for good
  UrlCost cost_;
  Window start_;
  Window last_;  ///< of what was read last away from the start
};

}  // namespace md::host
