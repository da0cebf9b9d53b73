// play ITEM [SECONDS]: writes the audio of ITEM to standard output, from SECONDS on, and the titles of a live stream to
// standard error. A decoder takes it:  play song.mp3 60 | mpg123 -

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "quorin/analyzer.h"
#include "quorin/audio_info.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

/// Metadata is text of strangers: nothing in it may control a terminal.
std::string printable(std::string text) {
  const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7F; };
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

/// The number that a text is; negative when it is none.
long long numberIn(std::string_view text) {
  long long number = -1;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  return parsed.ec == std::errc() && parsed.ptr == end ? number : -1;
}

/// Moves to a playing time. As far into the bytes as into the time: nearly right for a varying bitrate, too.
bool moveTo(long long seconds, const quorin::AudioInfo& audio, strell::Strell& source) {
  _obqOsalTime_struct duration = {};
  long long timeStart = 0;
  long long end = 0;
  if (!audio.canSeek() || audio.getDuration(duration) != 0 || audio.getTimeCalcStartOffset(timeStart) != 0 ||
      audio.getDataEndOffset(end) != 0 || seconds < 0 || seconds >= duration.seconds) {
    return false;
  }
  const long long bytesPerSecond = (end + 1 - timeStart) / duration.seconds;
  return source.seek(timeStart + bytesPerSecond * seconds) == 0;
}

/// Plays from where the source stands.
int playOn(const quorin::AudioInfo& audio, strell::Strell& source) {
  long long end = std::numeric_limits<long long>::max() - 1;  // not known of a live stream
  audio.getDataEndOffset(end);                                // a tag may stand behind it
  std::array<unsigned char, 4096> buffer = {};
  std::vector<strell::IcyData> metadata;
  for (;;) {
    long long position = 0;
    source.tell(position);
    const auto wanted = static_cast<unsigned>(std::clamp<long long>(end + 1 - position, 0, buffer.size()));
    unsigned got = 0;
    metadata.clear();
    const int status = wanted == 0 ? strell::END_OF_STREAM : source.readData(buffer.data(), wanted, got, metadata);
    for (const strell::IcyData& block : metadata) {
      std::cerr << "at " << block.offset << ": " << printable(block.text) << '\n';
    }
    std::cout.write(reinterpret_cast<const char*>(buffer.data()), got);
    if (status == strell::END_OF_STREAM || !std::cout) {
      return std::cout.flush() ? 0 : -1;
    }
    if (status != 0) {
      return status;  // what came before the failure is written
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::cerr << "usage: play ITEM [SECONDS]\n";
    return EXIT_FAILURE;
  }
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = argv[1];
  boost::shared_ptr<quorin::AnalyzeResult> result;
  analyzer.analyze(params, result);
  const auto audio = result ? boost::dynamic_pointer_cast<quorin::AudioInfo>(result->info) : nullptr;
  if (!audio || !result->strell) {
    std::cerr << params.uri << ": no audio\n";
    return EXIT_FAILURE;
  }
  long long start = 0;
  long long position = -1;
  result->strell->tell(position);
  if (audio->getDataStartOffset(start) != 0 || position != start) {
    std::cerr << params.uri << ": breaks off before its audio\n";
    return EXIT_FAILURE;
  }
  if (argc == 3 && !moveTo(numberIn(argv[2]), *audio, *result->strell)) {
    std::cerr << params.uri << ": cannot seek there\n";
    return EXIT_FAILURE;
  }
  if (const int status = playOn(*audio, *result->strell); status != 0) {
    std::cerr << params.uri << ": ended early (" << status << ")\n";
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
