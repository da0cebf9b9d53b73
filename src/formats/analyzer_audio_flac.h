#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "framework/analyzer_base.h"
#include "framework/analyzer_result.h"

namespace zu::md::common::quorin {

/// Native FLAC (RFC 9639). Reads the metadata blocks as far as the result needs them and no audio frame.
class AnalyzerAudioFlac : public AnalyzerBase {
 public:
  /// Cache offset before which the stream marker must begin.
  static constexpr unsigned int maxScan = 1024;

  AnalyzerAudioFlac();
  ~AnalyzerAudioFlac() override;

  int analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) override;

 private:
  /// One walk over the metadata blocks. It looks at them in the cache, and from the first block on that the cache does
  /// not hold it seeks.
  struct Walk {
    int64_t position;  ///< of the next block header, from the start of the stream
    bool maySeek;
    bool seeking;
    unsigned sought;  ///< blocks reached by seeking
  };
  struct Block {
    unsigned type;
    bool isLast;
    uint32_t length;  ///< of the body, bytes
  };
  struct Streaminfo;

  int analyzeStream(boost::shared_ptr<Info>& info);

  /// Moves the cache offset to the next stream marker.
  bool scanFlac();

  /// Walks the metadata behind the marker at the cache offset and fills the result.
  bool checkFlac();
  bool walkMetadata(Walk& walk);
  bool readBlockHeader(const Walk& walk, Block& block);
  bool moveToBody(Walk& walk, const Block& block);
  bool checkBlock(const Walk& walk, const Block& block);
  void estimateDuration(uint64_t audioBytes);
  bool returnToMarker(unsigned start, const Walk& walk);

  /// Parses a STREAMINFO body at the cache offset.
  bool checkStreaminfoBlock();
  bool readBlockSizes(Streaminfo& streaminfo);
  bool readFrameSizes(Streaminfo& streaminfo);
  bool readStreamProperties(Streaminfo& streaminfo);
  void storeStreaminfo(const Streaminfo& streaminfo);

  /// Parses a PICTURE body at the cache offset up to the picture data and records where that lies.
  /// @param blockBodyOffset stream offset of the body
  bool checkPictureBlock(int64_t blockBodyOffset);

  void clearResults();

  boost::shared_ptr<AnalyzerResult> result_;
  boost::shared_ptr<strell::Strell> strell_;
  uint64_t reserved_ = 0;      ///< kept: part of the layout that this analyzer and the one of WAV share
  uint8_t bitsPerSample_ = 0;  ///< 0 unknown
  int32_t sampleRate_ = 0;     ///< Hz; 0 unknown
};

}  // namespace zu::md::common::quorin
