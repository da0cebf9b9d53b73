#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "framework/analyzer_result.h"
#include "framework/cache_read.h"
#include "framework/cache_scan.h"
#include "quorin/info.h"
#include "strell/strell.h"

/// @file
/// The steps that the analyses of the formats have in common, with their log lines:
/// @code
///   if (!beginAnalysis(words, strell)) return STATUS_NO_ARGUMENT;
///   ...
///   if (!findStream(*strell_, words, maxScan, [this] { return scanThing(); }, [this] { return checkThing(); }) ||
///       !result_->isComplete())
///     return declineStream(words);
///   moveToStart(strell_, result_->dataStartOffset, words, __LINE__);
///   return acceptStream(words, result_, MimeTypes::AudioThing, info);
/// @endcode

namespace zu::md::common::quorin {

/// How an analyzer and its format are called in the log lines.
struct FormatWords {
  const char* analyzer;  ///< class name
  const char* format;    ///< the format while it is looked for
  const char* found;     ///< the format in the line of success
};

/// @return whether there is a source to analyse
bool beginAnalysis(const FormatWords& words, const boost::shared_ptr<strell::Strell>& strell);

/// The scan of an analyzer: moves the cache offset to the next sync before the cache offset `limit`. `place.line` is
/// the number that a failed read is reported with.
bool scanForCandidate(strell::Strell& strell, const SyncPattern& pattern, unsigned int limit, const ReadPlace& place);

void logNoCandidate(const FormatWords& words);
void logRejectedCandidate(const FormatWords& words);

/// Goes from one candidate to the next, from the start of the stream to the cache offset `maxScan`, until one is
/// accepted.
/// @param scan `bool()`, moves the cache offset to the next candidate
/// @param check `bool()`, looks at the candidate at the cache offset and fills the result
template <typename Scan, typename Check>
bool findStream(strell::Strell& strell, const FormatWords& words, unsigned int maxScan, Scan scan, Check check) {
  strell.setDataCacheOffset(0);
  while (strell.getDataCacheOffset() < maxScan) {
    if (!scan()) {
      logNoCandidate(words);
      return false;
    }
    const unsigned int candidate = strell.getDataCacheOffset();
    if (check()) {
      return true;
    }
    logRejectedCandidate(words);
    // kept: on from where the check stopped and not from the candidate, so what a broken header led over is not
    // searched again
    const unsigned int next = strell.getDataCacheOffset() + 1;
    if (next <= candidate) {
      return false;  // the check went beyond 4 GiB, where cache offsets start over
    }
    strell.setDataCacheOffset(next);
  }
  return false;
}

/// What the size of a source tells.
struct FileFacts {
  long long size;   ///< bytes; 0 when not known
  bool isRealFile;  ///< longer than a response header can be
  bool isSeekable;  ///< only asked of a real file
};

/// Asks for the size, and sets for a real file where the data ends and whether a player may seek.
FileFacts noteFile(strell::Strell& strell, AnalyzerResult& result);

/// Whether the source can change its read position; one that cannot tell counts as one that cannot.
bool isSeekable(strell::Strell& strell);

/// Moves the read position on to where playing starts. A failure is logged with `line` and otherwise ignored.
void moveToStart(const boost::shared_ptr<strell::Strell>& strell, long long offset, const FormatWords& words, int line);

/// Hands the result out as `info`.
void handOut(const FormatWords& words, const boost::shared_ptr<AnalyzerResult>& result, const std::string& contentType,
             boost::shared_ptr<Info>& info);

/// The end of an analysis that recognised the stream. @return STATUS_OK
int acceptStream(const FormatWords& words, const boost::shared_ptr<AnalyzerResult>& result,
                 const std::string& contentType, boost::shared_ptr<Info>& info);

/// The end of one that did not. @return STATUS_NOT_THIS_FORMAT
int declineStream(const FormatWords& words);

}  // namespace zu::md::common::quorin
