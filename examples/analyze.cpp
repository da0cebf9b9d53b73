// analyze ITEM: says what ITEM is. ITEM is a path or a URI: file:, vdr2://, http:// or https://.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "quorin/analyzer.h"
#include "quorin/audio_info.h"
#include "quorin/mime_types.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

/// Prints a value, if it is known.
template <typename Value>
void print(const char* name, const quorin::AudioInfo& audio, int (quorin::AudioInfo::*getter)(Value&) const) {
  Value value = {};
  if ((audio.*getter)(value) == 0) {
    std::cout << "  " << name << ": " << value << '\n';
  }
}

void printAudio(const quorin::AudioInfo& audio) {
  print("sampling frequency (Hz)", audio, &quorin::AudioInfo::getSamplingFrequency);
  print("bitrate (bit/s)", audio, &quorin::AudioInfo::getBitrate);
  print("first byte", audio, &quorin::AudioInfo::getDataStartOffset);
  print("last byte", audio, &quorin::AudioInfo::getDataEndOffset);
  _obqOsalTime_struct duration = {};
  if (audio.getDuration(duration) == 0) {
    std::cout << "  duration (s): " << duration.seconds << '\n';
  }
  for (auto picture = audio.embeddedPicturesBegin(); picture != audio.embeddedPicturesEnd(); ++picture) {
    std::cout << "  picture: " << picture->length << " bytes at " << picture->offset << '\n';
  }
  std::cout << "  a player may " << (audio.canSeek() ? "seek" : "only play straight on") << '\n';
}

const char* reasonOf(int status) {
  switch (status) {
    case -294:
      return "cannot be opened at present";
    case -296:
      return "there is no such item";
    default:
      return "cannot be opened";
  }
}

int run(const std::string& uri) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = uri;
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);

  if (!result || !result->info) {
    std::cerr << uri << ": " << reasonOf(status) << " (" << status << ")\n";
    return EXIT_FAILURE;
  }
  std::cout << uri << ": " << result->info->mimeType << '\n';
  if (const auto audio = boost::dynamic_pointer_cast<quorin::AudioInfo>(result->info)) {
    printAudio(*audio);
  } else if (const auto redirect = boost::dynamic_pointer_cast<quorin::RedirectInfo>(result->info)) {
    std::cout << "  leads to " << redirect->urls.front() << '\n';
  } else if (result->info->mimeType == quorin::MimeTypes::ApplicationUnknown) {
    return EXIT_FAILURE;  // opened, but of no known format
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: analyze ITEM\n";
    return EXIT_FAILURE;
  }
  try {
    return run(argv[1]);
  } catch (const std::exception& error) {  // out of memory, or the URI "file" with nothing behind it
    std::cerr << argv[1] << ": " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
