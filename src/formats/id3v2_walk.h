#pragma once

#include <cstdint>
#include <list>

#include "formats/id3v2.h"
#include "quorin/audio_info.h"
#include "strell/strell.h"

namespace zu::md::common::quorin {

/// One walk over the frames of an ID3v2 tag at the start of a stream. It records where the pictures lie and reads
/// nothing of them: within the cache it moves the cache offset, and from the first frame on that the cache does not
/// hold it seeks.
class Id3v2Walk {
 public:
  /// @param pictures receives the pictures, appended in tag order, also when the walk fails later
  Id3v2Walk(strell::Strell& strell, std::list<EmbeddedPicture>& pictures) : strell_(strell), pictures_(pictures) {}

  /// Recognises the tag header at the cache offset.
  /// @return whether there is one; `tagLength` is set then
  bool readTagHeader();

  /// Bytes of the whole tag.
  unsigned tagLength() const { return tagLength_; }

  /// Goes through the frames, as many as a tagger could have written, and leaves the cache offset (or, after seeking,
  /// the read position) at `end`.
  /// @return false when the walk had to stop; the reason is logged
  bool walkFrames(long long end);

 private:
  /// One frame: where it lies and how it begins.
  struct Frame {
    long long position;  ///< of its header, from the start of the stream
    long long body;      ///< of what follows the header
    uint32_t size;       ///< of the body, bytes
    bool hasPicture;
    bool isShortPicture;  ///< "PIC"
  };
  enum class Outcome { Found, End, Failed };

  bool isSourceSeekable();
  bool skipExtendedHeader(long long& position);
  int moveTo(long long position);
  Outcome readFrameHeader(const Id3v2FrameLayout& layout, Frame& frame);
  /// Whether a tag has more frames than any tagger writes; what comes from this one on is left alone.
  bool isOneTooMany(const Frame& frame);
  bool moveToBody(const Frame& frame);
  bool switchToSeeking();
  bool recordPicture(const Frame& frame);
  bool skipPictureFormat(const Frame& frame, uint32_t& remaining, long long& position);

  /// Reads at most `most` of the `remaining` bytes of a string, steps behind its terminator, and tells how many bytes
  /// that were. `what` names the string in the log.
  bool skipString(uint32_t remaining, uint32_t most, const char* what, uint32_t& consumed);

  strell::Strell& strell_;
  std::list<EmbeddedPicture>& pictures_;
  unsigned majorVersion_ = 0;
  unsigned char flags_ = 0;
  unsigned tagLength_ = 0;
  unsigned footerSize_ = 0;
  bool seekable_ = false;
  bool seeking_ = false;
  unsigned sought_ = 0;  ///< frames since then
};

}  // namespace zu::md::common::quorin
