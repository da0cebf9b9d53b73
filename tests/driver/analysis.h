#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "quorin/analyzer.h"
#include "quorin/audio_info.h"
#include "support/bytes.h"
#include "support/describe.h"
#include "support/log_capture.h"

namespace quorin_test {

/// One whole analysis by URI, with everything it left behind.
struct Analysis {
  explicit Analysis(const std::string& uri, int mode = zu::md::common::quorin::Analyzer::MODE_AUDIO) {
    zu::md::common::quorin::Analyzer analyzer(static_cast<zu::md::common::quorin::Analyzer::Mode_t>(mode));
    run(analyzer, uri);
  }

  Analysis(zu::md::common::quorin::Analyzer& analyzer, const std::string& uri, uint32_t mostVerbose = 5000) {
    run(analyzer, uri, mostVerbose);
  }

  /// The value of a line of the answer; empty when the answer has none.
  std::string value(const std::string& name) const {
    const size_t line = answer.find("\n" + name + " ");
    if (line == std::string::npos) {
      return std::string();
    }
    const size_t begin = line + name.size() + 2;
    return answer.substr(begin, answer.find('\n', begin) - begin);
  }
  long long number(const std::string& name) const { return std::stoll(value(name)); }

  bool logged(const std::string& lines) const { return log.find(lines + "\n") != std::string::npos; }

  /// The pictures that the answer tells of, cut out of `file`, which was analysed.
  std::vector<Bytes> picturesIn(const Bytes& file) const {
    std::vector<Bytes> pictures;
    if (const auto* audio = dynamic_cast<const zu::md::common::quorin::AudioInfo*>(result->info.get())) {
      for (auto found = audio->embeddedPicturesBegin(); found != audio->embeddedPicturesEnd(); ++found) {
        pictures.push_back(slice(file, found->offset, static_cast<size_t>(found->length)));
      }
    }
    return pictures;
  }

  int status = 0;
  boost::shared_ptr<zu::md::common::quorin::AnalyzeResult> result;
  std::string answer;  ///< as `describe` puts it
  std::string log;     ///< as `LogCapture::dump` puts it

 private:
  void run(zu::md::common::quorin::Analyzer& analyzer, const std::string& uri, uint32_t mostVerbose = 5000) {
    zu::md::common::strell::OpenParams params;
    params.uri = uri;
    const LogCapture capture(mostVerbose);
    status = analyzer.analyze(params, result);
    log = capture.dump();
    answer = describe(result ? result->info.get() : nullptr);
  }
};

}  // namespace quorin_test
