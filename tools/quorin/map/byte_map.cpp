#include "map/byte_map.h"

#include <algorithm>
#include <cmath>

namespace quorin_command {

namespace {

void append(std::vector<Segment>& segments, Content content, long long begin, long long end) {
  if (begin < end) {
    segments.push_back({content, {begin, end}});
  }
}

/// Appends a place with the pictures in it cut out. Pictures of a damaged tag may overlap: each byte goes to the first.
/// @param pictures in the order of their offsets
void appendAround(std::vector<Segment>& segments, const std::vector<library::EmbeddedPicture>& pictures,
                  Content content, Span place) {
  for (const library::EmbeddedPicture& picture : pictures) {
    const long long begin = std::max<long long>(picture.offset, place.begin);
    const long long end = picture.offset + std::min<long long>(picture.length, place.end - picture.offset);
    if (begin < end) {
      append(segments, content, place.begin, begin);
      append(segments, Content::Picture, begin, end);
      place.begin = end;
    }
  }
  append(segments, content, place.begin, place.end);
}

}  // namespace

std::vector<Segment> segmentsOf(const std::optional<AudioRecord>& audio, long long tagLength, long long end) {
  std::vector<Segment> segments;
  if (!audio) {
    append(segments, Content::Unknown, 0, end);
    return segments;
  }
  const long long dataStart = std::clamp(audio->dataStart.value_or(0), 0LL, end);
  const long long tagEnd = std::clamp(tagLength, 0LL, dataStart);
  // The data of FLAC begins with the metadata that a decoder wants; its time begins with the audio.
  const long long begin = std::clamp(audio->timeCalcStart.value_or(dataStart), dataStart, end);
  const long long last = audio->dataEnd.value_or(end - 1);
  auto pictures = audio->pictures;
  std::sort(pictures.begin(), pictures.end(), [](const auto& a, const auto& b) { return a.offset < b.offset; });
  appendAround(segments, pictures, Content::Tag, {0, tagEnd});
  appendAround(segments, pictures, Content::Header, {tagEnd, begin});
  const long long audioEnd = std::clamp(last, begin - 1, end - 1) + 1;
  append(segments, Content::Audio, begin, audioEnd);
  append(segments, Content::End, audioEnd, end);
  return segments;
}

long long audioStart(const ByteMap& map) {
  const auto audio = std::find_if(map.segments.begin(), map.segments.end(),
                                  [](const Segment& segment) { return segment.content == Content::Audio; });
  return audio == map.segments.end() ? map.end : audio->place.begin;
}

Scale::Scale(const std::vector<Segment>& segments, size_t width, size_t least) : segments_(segments) {
  const size_t count = std::max<size_t>(segments.size(), 1);
  least = std::min(least, width / count);
  const auto shared = static_cast<double>(width - least * segments.size());
  for (size_t i = 0; i < segments.size(); ++i) {
    const double share = static_cast<double>(segments[i].place.begin) / static_cast<double>(segments.back().place.end);
    columns_.push_back(i * least + static_cast<size_t>(std::llround(shared * share)));
  }
  columns_.push_back(width);
}

double Scale::positionOf(long long offset) const {
  for (size_t i = 0; i < segments_.size(); ++i) {
    const Span& place = segments_[i].place;
    if (offset < place.end) {
      const auto columns = static_cast<double>(columns_[i + 1] - columns_[i]);
      const auto inside = static_cast<double>(offset - place.begin);
      return static_cast<double>(columns_[i]) + inside * columns / static_cast<double>(place.length());
    }
  }
  return static_cast<double>(columns_.back());
}

std::vector<double> Scale::filled(const std::vector<Span>& spans) const {
  std::vector<double> shares(columns_.back());
  for (const Span& span : spans) {
    const double begin = positionOf(span.begin);
    const double end = positionOf(span.end);
    for (auto column = static_cast<size_t>(begin); column < shares.size() && static_cast<double>(column) < end;
         ++column) {
      const auto left = static_cast<double>(column);
      shares[column] += std::min(left + 1, end) - std::max(left, begin);
    }
  }
  return shares;
}

}  // namespace quorin_command
