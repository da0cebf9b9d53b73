// Teaches the analyzer the URIs of a radio service: "radio:NAME" becomes the HTTP address of the station's stream.

#include <boost/make_shared.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "quorin/analyzer.h"
#include "quorin/quorin_url_rework.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

class RadioTranslator : public quorin::UrlTranslator {
 public:
  int translate(std::string const& url, std::string& translated) override {
    static const std::string scheme("radio:");
    if (url.compare(0, scheme.size(), scheme) != 0) {
      return 0;  // somebody else's
    }
    const std::string station = url.substr(scheme.size());
    if (station.empty()) {
      return -1;  // ours, but no station is named
    }
    translated = "http://radio.example/live/" + station + ".mp3";
    return 1;
  }
};

/// Analyses one item, prints the answer, and tells where the item points to; empty when it points nowhere.
std::string targetOf(quorin::Analyzer& analyzer, const std::string& uri) {
  strell::OpenParams params;
  params.uri = uri;
  boost::shared_ptr<quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);
  const auto redirect = boost::dynamic_pointer_cast<quorin::RedirectInfo>(result->info);
  if (redirect == nullptr) {
    std::printf("%-12s status %d, nowhere to go\n", uri.c_str(), status);
    return std::string();
  }
  std::printf("%-12s %s: %s\n", uri.c_str(), redirect->mimeType.c_str(), redirect->urls.front().c_str());
  return redirect->urls.front();
}

}  // namespace

int main() {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  quorin::QuorinUrlRework& registry = quorin::QuorinUrlRework::getInstance();
  const auto translator = boost::make_shared<RadioTranslator>();

  std::printf("translator added\n");
  registry.add(translator);
  const std::string station = targetOf(analyzer, "radio:jazz");  // the caller would analyse and play this next
  const std::string nothing = targetOf(analyzer, "radio:");

  std::printf("translator removed\n");
  registry.remove(translator);
  const std::string unknown = targetOf(analyzer, "radio:jazz");

  const bool asExpected = station == "http://radio.example/live/jazz.mp3" && nothing.empty() && unknown.empty();
  return asExpected ? EXIT_SUCCESS : EXIT_FAILURE;
}
