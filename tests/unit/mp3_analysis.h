#pragma once

#include <boost/make_shared.hpp>
#include <string>

#include "formats/analyzer_audio_mp3.h"
#include "support/describe.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {

/// One analysis by AnalyzerAudioMp3 alone, with everything it left behind.
struct Mp3Analysis {
  explicit Mp3Analysis(const Bytes& bytes) : Mp3Analysis(scriptOf(bytes)) {}

  explicit Mp3Analysis(SourceScript script)
      : source(boost::make_shared<ScriptedSource>(std::move(script))),
        strell(boost::make_shared<zu::md::common::strell::Strell>()) {
    strell->attach(source);
    run();
  }

  /// Analyses what `opened` shows, from wherever it stands.
  Mp3Analysis(boost::shared_ptr<ScriptedSource> scripted, boost::shared_ptr<zu::md::common::strell::Strell> opened)
      : source(std::move(scripted)), strell(std::move(opened)) {
    run();
  }

  static SourceScript scriptOf(const Bytes& bytes) {
    SourceScript script;
    script.bytes = bytes;
    return script;
  }

  /// The value of a line of the answer, such as "5 0" for "duration"; empty when the answer has none.
  std::string value(const std::string& name) const {
    const size_t line = answer.find("\n" + name + " ");
    if (line == std::string::npos) {
      return std::string();
    }
    const size_t begin = line + name.size() + 2;
    return answer.substr(begin, answer.find('\n', begin) - begin);
  }

  bool logged(const std::string& line) const { return log.find(line + "\n") != std::string::npos; }

  boost::shared_ptr<ScriptedSource> source;
  boost::shared_ptr<zu::md::common::strell::Strell> strell;
  boost::shared_ptr<zu::md::common::quorin::Info> info;
  int status = 0;
  std::string answer;  ///< as `describe` puts it
  std::string log;     ///< as `LogCapture::dump` puts it

 private:
  void run() {
    zu::md::common::quorin::AnalyzerAudioMp3 analyzer;
    const LogCapture capture;
    status = analyzer.analyze(strell, info);
    answer = describe(info.get());
    log = capture.dump();
  }
};

}  // namespace quorin_test
