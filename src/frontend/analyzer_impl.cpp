#include "frontend/analyzer_impl.h"

#include <boost/make_shared.hpp>
#include <new>
#include <string>

#include "formats/analyzer_audio_adts.h"
#include "formats/analyzer_audio_dlna_pcm.h"
#include "formats/analyzer_audio_flac.h"
#include "formats/analyzer_audio_mp3.h"
#include "formats/analyzer_audio_wav.h"
#include "framework/http_header.h"
#include "framework/log.h"
#include "framework/status.h"
#include "quorin/mime_types.h"
#include "quorin/quorin_url_rework.h"
#include "redirect/content_redirect.h"
#include "redirect/folder.h"
#include "redirect/location_redirect.h"
#include "redirect/redirect_info.h"
#include "redirect/well_formed.h"

namespace zu::md::common::quorin {

namespace {

/// Of the operation that all lines of the driver name, whichever part of it they come from.
const char* const name = "analyze";

constexpr uint32_t openModeBits = 0x3f;

const char* textOrNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

MdchOpenParams urlLayerParams(const strell::OpenParams& params) {
  MdchOpenParams open = {};
  open.text0 = textOrNull(params.options[0]);
  open.mode = params.openFlags & openModeBits;
  open.text1 = textOrNull(params.options[1]);
  open.text2 = textOrNull(params.options[2]);
  open.text3 = textOrNull(params.options[3]);
  open.text4 = textOrNull(params.options[4]);
  return open;
}

boost::shared_ptr<AnalyzeResult> makeResult() {
  try {
    return boost::make_shared<AnalyzeResult>();
  } catch (const std::bad_alloc&) {
    return boost::shared_ptr<AnalyzeResult>();
  }
}

void checkUrlTranslate(strell::OpenParams const& params, AnalyzeResult& result) {
  std::string translated;
  if (QuorinUrlRework::getInstance().reworkUrl(params.uri, translated) != STATUS_TRANSLATED) {
    return;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() redirect url translate '%s'\n", __func__, translated.c_str());
  result.info = makeRedirect(MimeTypes::ApplicationRedirect, std::string(), translated);
}

/// What the URI alone tells, without opening it.
void checkUri(strell::OpenParams const& params, AnalyzeResult& result) {
  for (const auto check : {checkUrlTranslate, checkWellFormed, checkIfFolder}) {
    check(params, result);
    if (result.info) {
      return;
    }
  }
}

}  // namespace

// A stream that two analyzers would accept goes to the first of them.
Analyzer::Impl::Impl(Mode_t mode) {
  chain_.push_back(boost::make_shared<AnalyzerAudioDlnaPcm>());
  if ((mode & MODE_AUDIO) != 0) {
    chain_.push_back(boost::make_shared<AnalyzerAudioWav>());
    chain_.push_back(boost::make_shared<AnalyzerAudioFlac>());
    chain_.push_back(boost::make_shared<AnalyzerAudioMp3>());
    chain_.push_back(boost::make_shared<AnalyzerAudioAdts>());
  }
}

int Analyzer::Impl::analyze(strell::OpenParams const& params, boost::shared_ptr<AnalyzeResult>& result) {
  if (params.uri.empty()) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() empty URI.\n", name);
    return STATUS_NO_ARGUMENT;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() analyze '%s'.\n", name, params.uri.c_str());
  result = makeResult();
  if (!result) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() out of memory.\n", name);
    return STATUS_NO_MEMORY;
  }
  checkUri(params, *result);
  return result->info ? STATUS_OK : analyzeSource(params, *result);
}

int Analyzer::Impl::analyzeSource(strell::OpenParams const& params, AnalyzeResult& result) {
  boost::shared_ptr<MdchUrlBase> url;
  const int opened = open(params, url);
  if (opened == STATUS_REDIRECT) {
    checkHttpLocationRedirect(url, result);
    if (result.info) {
      return STATUS_OK;
    }
  }
  if (opened != STATUS_OK) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() open error=%i.\n", name, opened);
    return opened;
  }
  const auto strell = boost::make_shared<strell::Strell>();
  if (const int status = strell->attach(url); status != STATUS_OK) {
    QUORIN_LOG(Error, "Analyzer::Impl::%s() open failed err=%i.\n", name, status);
    return status;
  }
  result.strell = strell;
  HeaderInfo header;
  parseHeader(url, header);  // an item without a readable header is told by its bytes
  const int status = checkContentRedirect(header, strell, result);
  return result.info ? STATUS_OK : offerToChain(params, status, result);
}

int Analyzer::Impl::open(strell::OpenParams const& params, boost::shared_ptr<MdchUrlBase>& url) {
  const int code = mdch_OpenUrl(params.uri.c_str(), 0, urlLayerParams(params), url);
  switch (code) {
    case 0:
      return STATUS_OK;
    case 154:
      return STATUS_REDIRECT;
    case 150:
    case 151:
    case 152:
    case 153:
    case 155:
    case 156:
    case 11:
    case 22:
    case -11:
      return STATUS_OPEN_FAILED;
    case 2:
    case -2:
      return STATUS_NOT_FOUND;
    default:
      // kept: the line names the media access, whose task opening once was; field logs are searched for it
      QUORIN_LOG(Error, "Strell::Impl::%s(): unkown fs error %i.\n", __func__, code);
      return STATUS_OPEN_UNKNOWN;
  }
}

int Analyzer::Impl::offerToChain(strell::OpenParams const& params, int status, AnalyzeResult& result) {
  for (const boost::shared_ptr<AnalyzerBase>& analyzer : chain_) {
    status = analyzer->analyze(result.strell, result.info);
    if (status >= 0 && result.info) {
      return STATUS_OK;
    }
  }
  if (result.info) {
    return status;
  }
  QUORIN_LOG(Info, "Analyzer::Impl::%s() unknown type '%s'.\n", name, params.uri.c_str());
  result.info = makeInfo(MimeTypes::ApplicationUnknown);
  return status;
}

}  // namespace zu::md::common::quorin
