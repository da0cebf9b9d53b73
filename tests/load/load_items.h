#pragma once

#include <string>
#include <vector>

#include "md/url.h"
#include "quorin/analyzer.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

/// @file
/// Items of every kind, good and hostile, each of which can be analysed by its URI as often as one likes.

namespace quorin_test {

class LoadItems {
 public:
  /// Registers the scheme "load" and writes files.
  LoadItems();
  ~LoadItems();
  LoadItems(const LoadItems&) = delete;
  LoadItems& operator=(const LoadItems&) = delete;

  const std::vector<std::string>& uris() const { return uris_; }

  const TemporaryFolder& folder() const { return folder_; }

  /// Opens items of the scheme; good for as long as the object lives.
  md::UrlOpener opener() const;

 private:
  struct Scripted {
    int code;
    SourceScript script;
    std::deque<std::string> header;  ///< without one the source is no `HttpAccess`
    int headerFault;
    bool hasSource;
  };

  void addGoodAndDamaged();
  void addAnswers();
  void addFiles();
  void add(int code, const SourceScript& script, const std::deque<std::string>& header = {}, int headerFault = 0,
           bool hasSource = true);
  int open(size_t number, boost::shared_ptr<MdchUrlBase>& url) const;

  const TemporaryFolder folder_;
  std::vector<Scripted> scripted_;
  std::vector<std::string> uris_;
};

/// What an analysis comes to, in words: the status and the whole answer.
std::string outcomeOf(zu::md::common::quorin::Analyzer& analyzer, const std::string& uri);

}  // namespace quorin_test
