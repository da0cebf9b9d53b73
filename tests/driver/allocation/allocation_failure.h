#pragma once

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <ostream>
#include <string>

#include "formats/analyzer_audio_adts.h"
#include "formats/analyzer_audio_dlna_pcm.h"
#include "formats/analyzer_audio_flac.h"
#include "formats/analyzer_audio_mp3.h"
#include "formats/analyzer_audio_wav.h"
#include "quorin/analyzer.h"

/// @file
/// What holds when memory ends in the middle of an analysis.

namespace zu::md::common::quorin {

/// Collects log lines without allocating.
class QuietLog {
 public:
  QuietLog();
  ~QuietLog();
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

  std::string text;
};

/// What opening an item answers.
struct Opened {
  int code = 0;
  boost::shared_ptr<MdchUrlBase> source;
};

class AllocationFailure : public testing::Test {
 protected:
  using Opening = std::function<Opened()>;

  AllocationFailure();
  ~AllocationFailure() override;

  /// Holds every analysis of `uri` with too little memory against the one with enough: the n-th allocation fails, for
  /// every n, alone or with all behind it.
  /// @param open makes what the scheme "memory" answers
  void expectEveryFailureIsTold(
      const std::string& uri, const Opening& open = [] { return Opened(); });

  AnalyzerBase* analyzers[5] = {&pcm, &wav, &flac, &mp3, &adts};
  Opened opened;

 private:
  /// What an analysis came to.
  struct Outcome {
    int status = 0;
    std::string answer;
    std::string log;

    bool operator==(const Outcome& other) const {
      return status == other.status && answer == other.answer && log == other.log;
    }
    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
      return stream << "status " << outcome.status << '\n' << outcome.answer << outcome.log;
    }
  };

  Outcome analyzeWithEnough();
  bool expectFailureIsTold(int succeeding, const Outcome& expected);
  void expectDocumentedOutcome(int succeeding, const Outcome& expected);

  AnalyzerAudioDlnaPcm pcm;
  AnalyzerAudioWav wav;
  AnalyzerAudioFlac flac;
  AnalyzerAudioMp3 mp3;
  AnalyzerAudioAdts adts;
  QuietLog log_;
  strell::OpenParams params;
  Opening open_;
  Analyzer analyzer_ = Analyzer(Analyzer::MODE_AUDIO);
};

}  // namespace zu::md::common::quorin
