#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "item/record.h"
#include "map/spans.h"
#include "md/url.h"

/// @file
/// What lies where in an item, and which of its bytes were read: computed here, drawn by map_text.h and map_svg.h.

namespace quorin_command {

enum class Content {
  Tag,
  Picture,
  Header,  ///< whatever else stands before the audio
  Audio,
  End,  ///< what stands behind the audio
  Unknown
};

struct Segment {
  Content content;
  Span place;
};

/// The map of one item.
struct ByteMap {
  std::vector<Segment> segments;  ///< from 0 to `end`, without gaps; none is empty
  std::vector<Span> read;         ///< merged
  long long end = 0;              ///< the size, or how far was read when the size is not known
  bool endsThere = true;          ///< whether `end` is the size
  UrlCost cost;                   ///< of this item alone, without the redirects that led to it

  /// Whether a segment goes on where the map ends.
  bool goesOn(const Segment& segment) const { return !endsThere && segment.place.end == end; }
};

/// What lies where in a stream.
/// @param audio what is known of it; nothing when it was not recognised
/// @param tagLength bytes of the tag at its start; 0 when there is none
/// @param end where the map ends
std::vector<Segment> segmentsOf(const std::optional<AudioRecord>& audio, long long tagLength, long long end);

/// Where the audio begins; the end of the map when there is none.
long long audioStart(const ByteMap& map);

/// Bytes on a line of so many columns. Every segment has some columns, however small it is, and the rest is shared out
/// by size; within a segment the scale is even.
class Scale {
 public:
  /// @param least columns that each segment has at least; fewer when there are not enough for all
  Scale(const std::vector<Segment>& segments, size_t width, size_t least);

  /// The first column of a segment; for the number of segments the width.
  size_t columnOf(size_t segment) const { return columns_[segment]; }

  /// Where a byte begins, in columns.
  double positionOf(long long offset) const;

  /// Which share of each column the spans fill, from 0 to 1.
  /// @param spans merged
  std::vector<double> filled(const std::vector<Span>& spans) const;

 private:
  const std::vector<Segment>& segments_;
  std::vector<size_t> columns_;
};

}  // namespace quorin_command
