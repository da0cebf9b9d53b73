#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

namespace quorin_test {

/// A real HTTP server on the loopback, with this content:
///
///   | path | what is there |
///   | --- | --- |
///   | /NAME | the item, with ranges |
///   | /norange/NAME | ranges are ignored: 200 with the length |
///   | /norange406/NAME, /norange416/NAME, /norange400/NAME, /norange501/NAME | a request for a range gets that status
///   | | /chunked/NAME | ranges are ignored; chunked, no length | | /nolength/NAME | ranges are ignored; no length, the
///   body ends with the connection | | /gzip/NAME | compressed when the request allows it | | /encoded/NAME |
///   Content-Encoding: gzip, whatever the request says | | /icy/NAME | with ranges, and an icy-metaint line | |
///   /oneshot/NAME | with ranges, but each connection serves a single request | | /secret/NAME | for user "user" with
///   password "pass word" | | /forbidden/NAME | an item that the server may not read | | /status/CODE | that status;
///   redirects (3xx) lead to /item | | /drop | the connection closes without an answer |
class Nginx {
 public:
  enum Tls { WITHOUT_TLS, WITH_TLS };
  explicit Nginx(Tls tls = WITHOUT_TLS);
  ~Nginx();

  /// Puts an item there, or replaces it by another.
  void serve(const std::string& name, const Bytes& bytes) const;

  std::string url(const std::string& path) const;           ///< http://127.0.0.1:PORT + path
  std::string tlsUrl(const std::string& path) const;        ///< https://127.0.0.1:PORT + path
  std::string wrongNameUrl(const std::string& path) const;  ///< https:// by an address that is not in the certificate
  std::string proxyUrl() const;                             ///< a forward proxy
  std::string caBundle() const;                             ///< path of the certificate that signed the server's
  std::string otherCaBundle() const;                        ///< path of one that did not

  struct Request {
    int connection;  ///< number of its connection
    int status;
    long long bodyBytes;
    std::string range;  ///< value of its Range line, "-" for none
    std::string line;
    bool proxied;  ///< answered by the proxy
  };

  /// Ends the server and tells which requests it has answered, in order.
  std::vector<Request> stop();

 private:
  TemporaryFolder folder_;
  uint16_t port_;
  uint16_t tlsPort_;
  uint16_t proxyPort_;
  std::unique_ptr<ChildProcess> process_;
};

/// Number of connections that the requests came on.
size_t connectionsOf(const std::vector<Nginx::Request>& requests);

}  // namespace quorin_test
