#include "quorin/analyzer.h"

#include <boost/make_shared.hpp>

#include "formats/id3v2.h"
#include "formats/mpeg_frame_header.h"
#include "frontend/analyzer_impl.h"

namespace zu::md::common::quorin {

static_assert(Analyzer::MODE_NONE == 0 && Analyzer::MODE_AUDIO == 1, "the values are part of the interface");

Analyzer::Analyzer(Mode_t mode) : impl_(boost::make_shared<Impl>(mode)) {}

int Analyzer::analyze(strell::OpenParams const& params, boost::shared_ptr<AnalyzeResult>& result) {
  return impl_->analyze(params, result);
}

int Analyzer::checkFrameHeader(const unsigned char* header, int& bitrate, int& samplingFrequency,
                               unsigned& samplesPerFrame, int& frameSize, unsigned& xingOffset) {
  return checkMpegFrameHeader(header, bitrate, samplingFrequency, samplesPerFrame, frameSize, xingOffset);
}

int Analyzer::isID3v2Header(const unsigned char* header, unsigned& tagLength, unsigned& footerSize) {
  return isID3v2TagHeader(header, tagLength, footerSize);
}

void Analyzer::decodeSyncSafeInteger(unsigned* result, const unsigned char* bytes, unsigned char length) {
  decodeID3v2SyncSafeInteger(result, bytes, length);
}

}  // namespace zu::md::common::quorin
