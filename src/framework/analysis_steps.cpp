#include "framework/analysis_steps.h"

#include <boost/make_shared.hpp>

#include "framework/analyzer_base.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/audio_info.h"

namespace zu::md::common::quorin {

namespace {

const char* const name = "analyze";

}  // namespace

bool beginAnalysis(const FormatWords& words, const boost::shared_ptr<strell::Strell>& strell) {
  QUORIN_LOG(Info, "%s::%s() in\n", words.analyzer, name);
  if (!strell) {
    QUORIN_LOG(Error, "%s::%s() strell not set\n", words.analyzer, name);
    return false;
  }
  return true;
}

bool scanForCandidate(strell::Strell& strell, const SyncPattern& pattern, unsigned int limit, const ReadPlace& place) {
  QUORIN_LOG(Debug, "%s::%s()\n", place.analyzer, place.operation);
  if (!scanForSync(strell, pattern, limit, place)) {
    return false;
  }
  const unsigned int position = strell.getDataCacheOffset();
  QUORIN_LOG(Debug, "%s::%s() found at cache offset: %u (0x%02x)\n", place.analyzer, place.operation, position,
             position);
  return true;
}

void logNoCandidate(const FormatWords& words) {
  QUORIN_LOG(Info, "%s::%s(): no %s header found\n", words.analyzer, name, words.format);
}

void logRejectedCandidate(const FormatWords& words) {
  QUORIN_LOG(Info, "%s::%s(): analyzing %s not successfull\n", words.analyzer, name, words.format);
}

FileFacts noteFile(strell::Strell& strell, AnalyzerResult& result) {
  FileFacts file = {0, false, false};
  long long size = 0;
  if (strell.size(size) != STATUS_OK) {
    return file;
  }
  file.size = size;
  file.isRealFile = size > Info::MaximumHttpHeaderSize;
  if (file.isRealFile) {
    result.dataEndOffset = size - 1;
    result.validProperties |= PROP_DATA_END_OFFSET;
    file.isSeekable = isSeekable(strell);
    if (file.isSeekable) {
      result.grantSeeking();
    }
  }
  return file;
}

bool isSeekable(strell::Strell& strell) {
  bool seekable = false;
  return strell.getSeekable(seekable) == STATUS_OK && seekable;
}

void moveToStart(const boost::shared_ptr<strell::Strell>& strell, long long offset, const FormatWords& words,
                 int line) {
  if (const int status = AnalyzerBase::skipData(strell, offset); status != STATUS_OK) {
    QUORIN_LOG(Error, "%s::%s():%i error skipping header. err=%i!\n", words.analyzer, name, line, status);
  }
}

void handOut(const FormatWords& words, const boost::shared_ptr<AnalyzerResult>& result, const std::string& contentType,
             boost::shared_ptr<Info>& info) {
  result->debugPrint();
  info = boost::make_shared<AudioInfo>(result, contentType);
  QUORIN_LOG(Debug, "%s::%s(): out ok\n", words.analyzer, name);
}

int acceptStream(const FormatWords& words, const boost::shared_ptr<AnalyzerResult>& result,
                 const std::string& contentType, boost::shared_ptr<Info>& info) {
  QUORIN_LOG(Info, "%s::%s(): %s found\n", words.analyzer, name, words.found);
  handOut(words, result, contentType, info);
  return STATUS_OK;
}

int declineStream(const FormatWords& words) {
  QUORIN_LOG(Debug, "%s::%s() out not found. \n", words.analyzer, name);
  return STATUS_NOT_THIS_FORMAT;
}

}  // namespace zu::md::common::quorin
