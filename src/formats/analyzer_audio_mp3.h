#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "framework/analyzer_base.h"
#include "framework/analyzer_result.h"
#include "obq/time.h"

namespace zu::md::common::quorin {

/// MPEG-1, MPEG-2 and MPEG-2.5 audio, Layers I to III (ISO/IEC 11172-3, ISO/IEC 13818-3), behind an ID3v2 tag if there
/// is one. Two frames in a row make the format; a Xing, "Info" or VBRI header tells duration and average bitrate.
class AnalyzerAudioMp3 : public AnalyzerBase {
 public:
  AnalyzerAudioMp3();
  ~AnalyzerAudioMp3() override;

  int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) override;

  /// Converts an ID3v2 text field; see id3v2TextAsUtf8.
  static void getStringAsUtf8(char* destination, int destinationLength, const unsigned char* source, int sourceLength);

 private:
  int analyzeStream(boost::shared_ptr<Info>& info);

  /// Tries one candidate after the other, at most `maxScan` bytes from `base` on, until one is accepted.
  void findFirstFrame(unsigned base);
  void acceptFirstFrame(unsigned base);
  void grantSeeking();

  /// Walks an ID3v2 tag at cache offset 0.
  /// @return 1 with the position at `dataStartOffset_`, 0 when there is no tag or the walk had to stop
  int checkID3v2();

  /// Sets the data end offset from the file size and an ID3v1 tag, and goes back to the read position.
  /// @return whether it could look; a failure to go back is only logged
  bool findID3v1Tag();
  void readTrailer(long long size);

  /// Moves the cache offset to the next frame sync; non-zero when there is one.
  int scanMpeg();

  /// Checks the frame at the cache offset and its successor, and fills the result; non-zero on success.
  int checkMpeg();
  void estimateDuration();
  int acceptWithVbri(unsigned start, int frameSize);
  int checkSecondHeader(unsigned start, int frameSize, bool hasInfoHeader);
  int rejectMissingBitrate(unsigned start);
  void fillResult(int frameSize);

  /// Each expects the cache offset where its header would lie. Returns the header's size in bytes, 0 when there is
  /// none, or a negative error.
  int checkXingHeader(unsigned samplesPerFrame);
  int checkVbriHeader(unsigned samplesPerFrame);
  int checkLameHeader();
  bool readXingCounts(unsigned samplesPerFrame, uint32_t flags, bool& foundDuration, bool& foundBitrate);

  /// @return whether `duration_` could be computed
  bool computeDuration(unsigned samplesPerFrame, uint32_t frames);
  /// @return whether `bitrate_` could be computed
  bool computeBitrate(uint32_t bytes);
  void storeDuration();
  void storeBitrate();

  void clearResults();

  boost::shared_ptr<AnalyzerResult> result_;
  boost::shared_ptr<strell::Strell> strell_;
  int64_t dataStartOffset_ = 0;            ///< where the audio data begins; the length of the tag before that is known
  int32_t samplingFrequency_ = -1;         ///< Hz; -1 unknown
  int32_t bitrate_ = 0;                    ///< kbit/s; -1 unknown, 0 free format
  _obqOsalTime_struct duration_ = {0, 0};  ///< microseconds -1: unknown
};

}  // namespace zu::md::common::quorin
