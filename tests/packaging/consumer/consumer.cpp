// consumer FILE: says what FILE is, by the library, and repairs a URL, by the platform.

#include <md/url.h>
#include <quorin/analyzer.h>
#include <quorin/audio_info.h>
#include <quorin/mime_types.h>

#include <cstdio>

using namespace zu::md::common;

int main(int, char** arguments) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  strell::OpenParams params;
  params.uri = arguments[1];
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);
  const auto audio = boost::dynamic_pointer_cast<quorin::AudioInfo>(result->info);
  if (audio == nullptr || audio->mimeType != quorin::MimeTypes::AudioXWave) {
    std::printf("status %d, no WAV\n", status);
    return 1;
  }
  int hertz = 0;
  audio->getSamplingFrequency(hertz);
  std::printf("%s %d\n%s\n", audio->mimeType.c_str(), hertz, md::urlPatch("HTTP://Host/a b").c_str());
  return 0;
}
