// follow URI: goes from redirects and playlists to what is behind them, and says what that is.

#include <cstdlib>
#include <iostream>
#include <set>
#include <string>

#include "md/url.h"
#include "quorin/analyzer.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

constexpr int mostHops = 5;

bool isHttp(const std::string& uri) { return uri.rfind("http://", 0) == 0 || uri.rfind("https://", 0) == 0; }

/// The URI that a target means. Servers may name one relative to the item that was asked for.
std::string absolute(const std::string& base, const std::string& target) {
  const bool hasScheme = target.find(':') < target.find_first_of("/?#");
  if (hasScheme || !isHttp(base)) {
    return target;
  }
  const size_t host = base.find("://") + 3;
  if (target.rfind("//", 0) == 0) {
    return base.substr(0, host - 2) + target;
  }
  const std::string server = base.substr(0, base.find_first_of("/?#", host));
  if (target.rfind('/', 0) == 0) {
    return server + target;
  }
  const std::string path = base.substr(server.size(), base.find_first_of("?#", host) - server.size());
  if (target.rfind('?', 0) == 0) {
    return server + path + target;
  }
  return server + (path.empty() ? "/" : path.substr(0, path.rfind('/') + 1)) + target;
}

/// Why the step is not taken; null when it is.
const char* objectionTo(const std::string& from, const std::string& to, const std::set<std::string>& seen) {
  if (isHttp(from) && !isHttp(to)) {
    return "leads from the network to something that is not";  // a server must not choose among local files
  }
  if (seen.count(to) != 0) {
    return "the redirects go round in a circle";
  }
  return seen.size() > mostHops ? "too many redirects" : nullptr;
}

int follow(std::string uri) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  std::set<std::string> seen;
  for (;;) {
    seen.insert(uri);
    strell::OpenParams params;
    params.uri = uri;
    boost::shared_ptr<quorin::AnalyzeResult> result;
    const int status = analyzer.analyze(params, result);
    if (!result || !result->info) {
      std::cerr << uri << ": cannot be opened (" << status << ")\n";
      return EXIT_FAILURE;
    }
    const auto redirect = boost::dynamic_pointer_cast<quorin::RedirectInfo>(result->info);
    if (!redirect) {
      std::cout << uri << ": " << result->info->mimeType << '\n';
      return EXIT_SUCCESS;
    }
    const std::string target = md::urlPatch(absolute(uri, redirect->urls.front()));
    if (const char* const objection = objectionTo(uri, target, seen)) {
      std::cerr << uri << ": " << objection << ": " << target << '\n';
      return EXIT_FAILURE;
    }
    std::cout << uri << " -> " << target << '\n';
    uri = target;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: follow URI\n";
    return EXIT_FAILURE;
  }
  return follow(argv[1]);
}
