#include "formats/analyzer_audio_dlna_pcm.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "framework/analysis_steps.h"
#include "framework/analyzer_result.h"
#include "framework/byte_order.h"
#include "framework/cache_read.h"
#include "framework/http_header.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/mime_types.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned requiredProperties = PROP_SAMPLING_FREQUENCY;
static_assert(requiredProperties == 0x01, "the mask is part of the behaviour");

constexpr FormatWords words = {"AnalyzerAudioDlnaPcm", "DLNA PCM", "DLNA PCM"};

const std::string rateKey("rate=");
const std::string channelsKey("channels=");

constexpr int bitsPerSample = 16;
constexpr unsigned bytesPerSample = 2;    // per channel
constexpr int32_t usualChannels = 2;      // when the content type tells none
constexpr int32_t bytesPerKilobit = 125;  // 8 bits, 1000 bit/s to the kbit/s

constexpr const char* name = "analyze";

struct Parameters {
  int32_t rate = 0;  ///< Hz
  int32_t channels = usualChannels;
};

std::string contentTypeOf(strell::Strell& strell) {
  std::deque<std::string> lines;
  strell.getHeaderList(lines);  // no lines, no content type
  HeaderInfo header;
  parseHeader(lines, header);
  return header.contentType;
}

bool hasRiffHeader(strell::Strell& strell) {
  strell.setDataCacheOffset(0);
  const unsigned char* const data = readCached(strell, 4, {words.analyzer, name, __LINE__});
  return data != nullptr && startsWith(data, "RIFF");
}

/// Takes what stands behind the key, all of it a number with or without a sign.
bool convert(const std::string& text, int32_t& number) {
  int converted = 0;
  if (!boost::conversion::try_lexical_convert(text, converted)) {
    return false;
  }
  number = converted;
  return true;
}

void readRate(const std::string& token, Parameters& parameters, AnalyzerResult& result) {
  const std::string text = token.substr(rateKey.size());
  if (!convert(text, parameters.rate)) {
    return;
  }
  QUORIN_LOG(Debug, "AnalyzerAudioDlnaPcm::%s() s=%s rate=%i\n", name, text.c_str(), parameters.rate);
  result.samplingFrequency = parameters.rate;
  result.validProperties |= PROP_SAMPLING_FREQUENCY;
}

void readChannels(const std::string& token, Parameters& parameters, AnalyzerResult& result) {
  if (!convert(token.substr(channelsKey.size()), parameters.channels)) {
    // kept: the line repeats the key, and its level is the platform's most severe; field tools look for both
    QUORIN_LOG(Severe, "AnalyzerAudioDlnaPcm::%s() can't analyse channels=%s\n", name, token.c_str());
    return;
  }
  result.channels = parameters.channels;
  result.validProperties |= PROP_CHANNELS;
}

Parameters readParameters(const std::string& contentType, AnalyzerResult& result) {
  Parameters parameters;
  std::vector<std::string> tokens;
  // kept: nothing is trimmed, so a parameter behind a blank is not seen and the stream is left to other players
  const auto isSeparator = [](char c) { return c == ';'; };
  boost::algorithm::split(tokens, contentType, isSeparator, boost::algorithm::token_compress_on);
  for (const std::string& token : tokens) {
    QUORIN_LOG(Info, "AnalyzerAudioDlnaPcm::%s() token='%s'\n", name, token.c_str());
    if (boost::algorithm::starts_with(token, rateKey)) {
      readRate(token, parameters, result);
    }
    if (boost::algorithm::starts_with(token, channelsKey)) {
      readChannels(token, parameters, result);
    }
  }
  return parameters;
}

/// Product modulo 2^32: the numbers come from the server and may be anything.
int32_t bytesPerSecond(const Parameters& parameters) {
  return static_cast<int32_t>(static_cast<uint32_t>(parameters.rate) * static_cast<uint32_t>(parameters.channels) *
                              bytesPerSample);
}

void storeBitrateAndDuration(const Parameters& parameters, long long size, AnalyzerResult& result) {
  const int32_t rate = bytesPerSecond(parameters);
  result.bitrate = rate / bytesPerKilobit;
  result.duration = {0, 0};
  if (parameters.rate == 0 || parameters.channels == 0) {
    QUORIN_LOG(Severe, "AnalyzerAudioDlnaPcm::%s() cannot calc duration:channels=%d, rate=%d\n", name,
               parameters.channels, parameters.rate);
  } else if (rate != 0) {
    // kept: seconds are cut to 32 bits
    result.duration.seconds = static_cast<int32_t>(static_cast<uint32_t>(size / rate));
  }
  result.validProperties |= PROP_BITRATE | PROP_DURATION;
}

}  // namespace

AnalyzerAudioDlnaPcm::AnalyzerAudioDlnaPcm() = default;

AnalyzerAudioDlnaPcm::~AnalyzerAudioDlnaPcm() = default;

int AnalyzerAudioDlnaPcm::analyze(boost::shared_ptr<strell::Strell> strell, boost::shared_ptr<Info>& info) {
  if (!beginAnalysis(words, strell)) {
    return STATUS_NO_ARGUMENT;
  }
  const std::string contentType = contentTypeOf(*strell);
  if (!boost::algorithm::starts_with(contentType, MimeTypes::AudioL16)) {
    return declineStream(words);
  }
  if (hasRiffHeader(*strell)) {
    QUORIN_LOG(Info, "AnalyzerAudioDlnaPcm::%s() ignore PCM due to found RIFF/WAV header\n", name);
    return STATUS_NOT_THIS_FORMAT;
  }
  const auto result = boost::make_shared<AnalyzerResult>(requiredProperties);
  const Parameters parameters = readParameters(contentType, *result);
  if (!result->isComplete()) {
    return STATUS_NOT_THIS_FORMAT;
  }
  result->dataStartOffset = 0;
  result->mediaType = MEDIA_TYPE_LPCM;
  result->validProperties |= PROP_DATA_START_OFFSET | PROP_MEDIA_TYPE;
  if (const FileFacts file = noteFile(*strell, *result); file.isRealFile) {
    storeBitrateAndDuration(parameters, file.size, *result);
  }
  // kept: the line names the analyzer of ADTS; logs from the field are searched for it
  QUORIN_LOG(Info, "AnalyzerAudioAdts::%s(): DLNA PCM found. rate=%i channels=%i bitpersample=%i\n", name,
             parameters.rate, parameters.channels, bitsPerSample);
  handOut(words, result, MimeTypes::AudioL16, info);
  return STATUS_OK;
}

}  // namespace zu::md::common::quorin
