#pragma once

#include <boost/shared_ptr.hpp>
#include <deque>
#include <string>
#include <vector>

#include "strell/strell.h"

namespace memory_platform {

/// A source as Strell needs it: read at any offset, its answers checked, its ICY metadata taken out.
class Stream {
 public:
  explicit Stream(boost::shared_ptr<MdchUrlBase> source);

  bool canSeek() const { return canSeek_; }
  bool hasTitles() const { return distance_ != 0; }

  /// @param offset where there are titles, the end of what was read before
  int read(unsigned long long offset, unsigned char* buffer, unsigned int length, unsigned int& got);
  int seek(unsigned long long offset);
  int size(long long& bytes) const;
  int getSeekable(bool& seekable) const;
  int getHeaderList(std::deque<std::string>& lines) const;
  UrlCost cost() const { return source_->cost(); }

  /// Hands over the titles that stand before the byte at `offset`.
  void takeTitles(long long offset, std::vector<zu::md::common::strell::IcyData>& titles);

 private:
  int readRaw(unsigned long long offset, unsigned char* buffer, unsigned int length, unsigned int& got);
  unsigned int sift(unsigned char* bytes, unsigned int count);
  void finishTitle();

  boost::shared_ptr<MdchUrlBase> source_;
  bool canSeek_ = false;
  bool isPlaceKnown_ = true;
  unsigned long long place_ = 0;  ///< where the source stands

  unsigned int distance_ = 0;     ///< audio bytes between titles, 0 for none
  unsigned int untilTitle_ = 0;   ///< audio bytes before the next
  unsigned int leftOfTitle_ = 0;  ///< its bytes that are still to come
  unsigned long long raw_ = 0;    ///< bytes of the source seen so far, titles included
  long long audio_ = 0;           ///< the audio bytes among them
  std::string title_;             ///< the one that is coming
  unsigned int memoryOfTitles_ = 0;
  std::vector<zu::md::common::strell::IcyData> titles_;
};

}  // namespace memory_platform
