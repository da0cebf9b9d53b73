#pragma once

#include <boost/make_shared.hpp>
#include <deque>
#include <string>

#include "support/describe.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {

inline SourceScript scriptOf(const Bytes& bytes) {
  SourceScript script;
  script.bytes = bytes;
  return script;
}

/// A source that nobody can seek in and that tells no size, as live radio is.
inline SourceScript liveScriptOf(const Bytes& bytes) {
  SourceScript script = scriptOf(bytes);
  script.seekable = false;
  script.sizeKnown = false;
  return script;
}

/// One analysis by one analyzer alone, with everything that it left behind.
template <typename Analyzer>
struct FormatAnalysis {
  explicit FormatAnalysis(const Bytes& bytes) : FormatAnalysis(scriptOf(bytes)) {}

  explicit FormatAnalysis(SourceScript script)
      : FormatAnalysis(boost::make_shared<ScriptedSource>(std::move(script))) {}

  /// Over HTTP, with a response header.
  FormatAnalysis(SourceScript script, std::deque<std::string> header, int headerFault = 0)
      : FormatAnalysis(boost::make_shared<ScriptedHttpSource>(std::move(script), std::move(header), headerFault)) {}

  explicit FormatAnalysis(const boost::shared_ptr<MdchUrlBase>& source) : strell(open(source)) { run(); }

  /// Analyses what `opened` shows, from wherever it stands.
  explicit FormatAnalysis(boost::shared_ptr<zu::md::common::strell::Strell> opened) : strell(std::move(opened)) {
    run();
  }

  static boost::shared_ptr<zu::md::common::strell::Strell> open(const boost::shared_ptr<MdchUrlBase>& source) {
    auto strell = boost::make_shared<zu::md::common::strell::Strell>();
    strell->attach(source);
    return strell;
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

  bool logged(const std::string& line) const { return ("\n" + log).find("\n" + line + "\n") != std::string::npos; }

  /// The same with the numbers that stand in the lines.
  bool loggedExactly(const std::string& line) const {
    return ("\n" + exactLog).find("\n" + line + "\n") != std::string::npos;
  }

  long long playPosition() const {
    long long position = -1;
    strell->tell(position);
    return position;
  }

  boost::shared_ptr<zu::md::common::strell::Strell> strell;
  boost::shared_ptr<zu::md::common::quorin::Info> info;
  int status = 0;
  std::string answer;    ///< as `describe` puts it
  std::string log;       ///< as `LogCapture::dump` puts it, the numbers of source lines hidden
  std::string exactLog;  ///< with them

 private:
  void run() {
    Analyzer analyzer;
    const LogCapture capture;
    status = analyzer.analyze(strell, info);
    answer = describe(info.get());
    log = capture.dump();
    for (const LogLine& line : capture.lines()) {
      exactLog += std::to_string(line.level) + ' ' + line.text;
    }
  }
};

}  // namespace quorin_test
