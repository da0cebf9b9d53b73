#include "play/play.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>

#include "item/byte_range.h"
#include "item/cost.h"
#include "item/item_run.h"
#include "output/json_output.h"
#include "output/output.h"
#include "output/talk.h"

namespace quorin_command {

namespace {

/// The title in the metadata of a live stream: the text of StreamTitle='...', or else all of it.
std::string titleIn(const std::string& metadata) {
  const std::string key = "StreamTitle='";
  const size_t begin = metadata.find(key);
  if (begin == std::string::npos) {
    return metadata;
  }
  // The title may hold apostrophes; what ends it is one with a semicolon behind it.
  const size_t end = metadata.find("';", begin + key.size());
  return metadata.substr(begin + key.size(), end == std::string::npos ? end : end - begin - key.size());
}

/// Plays an analysed item. What ends it early is put into the record.
/// @return 0, or the errno of the failure to write
int playItem(const Options& options, Analysis& analysis, Record& record) {
  if (record.kind != Kind::Audio) {
    fail(record, record.error ? *record.error : notAudio(record.kind));
    return 0;
  }
  const CostMeter meter(analysis.source(), record);
  int writeError = 0;
  const auto write = [&writeError](std::string_view bytes) {
    writeError = writeAll(STDOUT_FILENO, bytes);
    return writeError == 0;
  };
  const auto tell = [&options](const std::string& metadata) {
    if (const std::string title = titleIn(metadata); options.verbose && !title.empty()) {
      complain("playing", title);
    }
  };
  const long long end = record.audio->dataEnd ? *record.audio->dataEnd + 1 : -1;
  if (const int failure = readOn(*analysis.source(), end, write, tell); failure != 0) {
    fail(record, readError(failure));
  }
  return writeError;
}

}  // namespace

int play(const Options& options) {
  int writeError = 0;
  const ItemWork work = {[&](Analysis& analysis, Record& record) { writeError = playItem(options, analysis, record); },
                         [&](const Record& record) {
                           if (options.json) {
                             writeTalk(jsonLine(record));  // standard output is the stream
                           }
                           // A player that has been closed is no failure of ours.
                           return writeError == 0 || writeError == EPIPE || isFine(writeError);
                         }};
  return runItems(options, work);
}

}  // namespace quorin_command
