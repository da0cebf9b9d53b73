#pragma once

#include <curl/curl.h>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http/http_options.h"
#include "http/http_response.h"

/// @file
/// Requests for one URL, one after the other, each pulled piece by piece by whoever reads it.
///
/// @code
///   HttpTransfer transfer(url, options);
///   if (transfer.request(ByteRange{0, 16383}) == CURLE_OK && transfer.response().status == 206) {
///     std::vector<unsigned char> bytes;
///     while (transfer.receive(bytes) == CURLE_OK && !bytes.empty()) { ... }
///   }
/// @endcode
///
/// Nothing happens between the calls: a reader that takes its time holds the server back, and memory stays bounded.

namespace md::host {

/// Offsets of the first and the last byte asked for.
struct ByteRange {
  long long first;
  long long last;
};

class HttpTransfer {
 public:
  /// The total time limit counts from here.
  HttpTransfer(const std::string& url, const HttpOptions& options);
  ~HttpTransfer();
  HttpTransfer(const HttpTransfer&) = delete;
  HttpTransfer& operator=(const HttpTransfer&) = delete;

  /// Sends a request and waits for the header of its response. What is left of the response before is taken first, when
  /// that is cheap, so that the connection serves this request too.
  /// @param range nothing for the whole item
  /// @return CURLE_OK when `response` is the answer, whatever its status; CURLE_OPERATION_TIMEDOUT for each of the
  /// limits
  CURLcode request(const std::optional<ByteRange>& range);

  /// The last header that came complete.
  const HttpResponse& response() const { return response_; }

  /// Whether bytes of the body, or the failure that cuts it short, are still to be received.
  bool underWay() const { return active_ || !body_.empty() || result_ != CURLE_OK; }

  /// Waits until bytes of the body are there and hands out all of them.
  /// @param bytes replaced; empty at the end of the body and on failure
  CURLcode receive(std::vector<unsigned char>& bytes);

  unsigned long long bytesReceived() const { return bytesReceived_; }  ///< of bodies, those nobody wanted included
  unsigned int requests() const { return requests_; }

 private:
  using Clock = std::chrono::steady_clock;
  template <auto Function>
  struct Deleter {
    template <typename Handle>
    void operator()(Handle* handle) const {
      Function(handle);
    }
  };
  using List = std::unique_ptr<curl_slist, Deleter<curl_slist_free_all>>;

  // What libcurl calls. It knows no exceptions: they wait in `thrown_` until it is left.
  static size_t onHeader(char* data, size_t size, size_t count, void* self);
  static size_t onBody(char* data, size_t size, size_t count, void* self);
  static int onConnected(void* self, char*, char*, int, int);

  template <typename Value>
  void set(CURLoption option, Value value);
  void setWhatIsAsked(const std::string& url, const HttpOptions& options);
  void setHowItTravels(const HttpOptions& options);
  static void append(List& list, const std::string& line);

  void wait(const std::function<bool()>& ready, Clock::time_point until = Clock::time_point::max());
  Clock::time_point deadline() const;
  void collectResult();
  void end(CURLcode result);
  void settle();
  void readHeader();
  std::string headerValue(const char* name) const;

  const TimeLimits limits_;
  const Clock::time_point opened_;
  List headerLines_;
  List statusAliases_;
  std::unique_ptr<CURLM, Deleter<curl_multi_cleanup>> multi_;
  std::unique_ptr<CURL, Deleter<curl_easy_cleanup>> easy_;
  CURLcode setUp_ = CURLE_OK;  ///< the first option that libcurl did not take

  // The request under way.
  bool active_ = false;         ///< libcurl is at work on it
  bool connected_ = false;      ///< the stall limit counts from here on, the connect limit before
  bool paused_ = false;         ///< libcurl holds bytes back because `body_` is full
  CURLcode result_ = CURLE_OK;  ///< how it ended
  std::exception_ptr thrown_;   ///< by what libcurl called
  Clock::time_point lastByte_;
  HeaderBlock header_;
  std::vector<unsigned char> body_;  ///< received and not handed out yet

  HttpResponse response_;
  unsigned long long bytesReceived_ = 0;
  unsigned int requests_ = 0;
};

}  // namespace md::host
