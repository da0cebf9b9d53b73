#include "http/http_transfer.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace md::host {

namespace {

/// Bytes held for the reader before libcurl has to wait: some network packets' worth, so that reading stays smooth.
constexpr size_t mostBuffered = size_t{64} * 1024;
/// Rest of an unwanted response that is still taken to keep the connection: the largest range that is ever asked for.
constexpr size_t mostDiscarded = size_t{1024} * 1024;
/// ... and the time for it. Beyond this a new connection is quicker.
constexpr std::chrono::seconds longestDiscarding(1);
/// Longest single wait; the limits are looked at in between.
constexpr std::chrono::milliseconds longestPoll(1000);

void initialiseCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// libcurl takes 0 for a default of its own.
long connectLimitOf(const TimeLimits& limits) {
  const std::chrono::milliseconds limit = limits.connect.count() > 0 ? limits.connect : longestTimeLimit;
  return static_cast<long>(limit.count());
}

}  // namespace

HttpTransfer::HttpTransfer(const std::string& url, const HttpOptions& options)
    : limits_(options.limits), opened_(Clock::now()) {
  initialiseCurl();
  multi_.reset(curl_multi_init());
  easy_.reset(curl_easy_init());
  if (!multi_ || !easy_) {
    throw std::bad_alloc();
  }
  body_.reserve(mostBuffered);
  setWhatIsAsked(url, options);
  setHowItTravels(options);
}

HttpTransfer::~HttpTransfer() { end(CURLE_OK); }

template <typename Value>
void HttpTransfer::set(CURLoption option, Value value) {
  const CURLcode result = curl_easy_setopt(easy_.get(), option, value);
  if (setUp_ == CURLE_OK) {
    setUp_ = result;
  }
}

void HttpTransfer::setWhatIsAsked(const std::string& url, const HttpOptions& options) {
  set(CURLOPT_URL, url.c_str());
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  set(CURLOPT_HTTP09_ALLOWED, 0L);
  append(headerLines_, "Icy-MetaData: 1");
  for (const std::string& line : options.headerLines) {
    append(headerLines_, line);
  }
  set(CURLOPT_HTTPHEADER, headerLines_.get());
  set(CURLOPT_USERAGENT, options.userAgent.c_str());
  // SHOUTcast's status line. libcurl compares as many characters as are given here.
  append(statusAliases_, "ICY 200");
  set(CURLOPT_HTTP200ALIASES, statusAliases_.get());
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  set(CURLOPT_HEADERFUNCTION, onHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_WRITEFUNCTION, onBody);
  set(CURLOPT_WRITEDATA, this);
}

void HttpTransfer::setHowItTravels(const HttpOptions& options) {
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a name server that does not answer must not hold up who closes the source
  set(CURLOPT_PREREQFUNCTION, onConnected);
  set(CURLOPT_PREREQDATA, this);
  set(CURLOPT_CONNECTTIMEOUT_MS, connectLimitOf(options.limits));
  // An empty proxy and list of exceptions keep libcurl from looking into the environment.
  set(CURLOPT_PROXY, options.proxy.c_str());
  set(CURLOPT_NOPROXY, "");
  if (!options.caBundle.empty()) {
    set(CURLOPT_CAINFO, options.caBundle.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    set(CURLOPT_PROXY_CAINFO, options.caBundle.c_str());
    set(CURLOPT_PROXY_CAPATH, static_cast<const char*>(nullptr));
  }
}

void HttpTransfer::append(List& list, const std::string& line) {
  curl_slist* const longer = curl_slist_append(list.get(), line.c_str());
  if (longer == nullptr) {
    throw std::bad_alloc();
  }
  if (!list) {
    list.reset(longer);
  }
}

CURLcode HttpTransfer::request(const std::optional<ByteRange>& range) {
  settle();
  if (setUp_ != CURLE_OK) {
    return setUp_;
  }
  const std::string text = range ? std::to_string(range->first) + '-' + std::to_string(range->last) : std::string();
  const CURLcode taken = curl_easy_setopt(easy_.get(), CURLOPT_RANGE, range ? text.c_str() : nullptr);
  if (taken != CURLE_OK) {
    return taken;
  }
  header_ = HeaderBlock();
  connected_ = false;
  paused_ = false;
  result_ = CURLE_OK;
  if (curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK) {
    return CURLE_OUT_OF_MEMORY;
  }
  active_ = true;
  ++requests_;
  wait([this] { return header_.complete(); });
  if (!header_.complete()) {
    return result_ == CURLE_OK ? CURLE_WEIRD_SERVER_REPLY : result_;
  }
  readHeader();
  return CURLE_OK;
}

CURLcode HttpTransfer::receive(std::vector<unsigned char>& bytes) {
  bytes.clear();
  wait([this] { return !body_.empty(); });
  if (body_.empty()) {
    return result_;
  }
  bytes.reserve(mostBuffered);  // before anything is taken: memory may end here
  bytes.swap(body_);
  return CURLE_OK;
}

/// Lets libcurl work until something is ready, the transfer has ended, or `until` has come.
void HttpTransfer::wait(const std::function<bool()>& ready, Clock::time_point until) {
  lastByte_ = Clock::now();  // the time that the reader took for himself is not the server's
  while (active_ && !ready()) {
    if (paused_) {
      paused_ = false;
      curl_easy_pause(easy_.get(), CURLPAUSE_CONT);
    }
    int running = 0;
    if (curl_multi_perform(multi_.get(), &running) != CURLM_OK) {
      end(CURLE_OUT_OF_MEMORY);
      return;
    }
    collectResult();
    if (const std::exception_ptr thrown = std::exchange(thrown_, nullptr)) {
      std::rethrow_exception(thrown);
    }
    if (!active_) {
      return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= deadline()) {  // even when something is ready: a server that never runs dry must not outlast the limit
      end(CURLE_OPERATION_TIMEDOUT);
      return;
    }
    if (ready() || now >= until) {
      return;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::min<Clock::duration>(std::min(deadline(), until) - now, longestPoll));
    curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(left.count()), nullptr);
  }
}

/// When the nearest of the limits runs out; the connect limit is libcurl's business.
HttpTransfer::Clock::time_point HttpTransfer::deadline() const {
  Clock::time_point nearest = Clock::time_point::max();
  if (limits_.total.count() > 0) {
    nearest = opened_ + limits_.total;
  }
  if (connected_ && limits_.stall.count() > 0) {
    nearest = std::min<Clock::time_point>(nearest, lastByte_ + limits_.stall);
  }
  return nearest;
}

void HttpTransfer::collectResult() {
  int queued = 0;
  const CURLMsg* const message = curl_multi_info_read(multi_.get(), &queued);
  if (message == nullptr || message->msg != CURLMSG_DONE) {
    return;
  }
  // A tunnel that the proxy refuses looks like a broken connection otherwise.
  long proxyStatus = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
  end(message->data.result == CURLE_RECV_ERROR && proxyStatus >= 300 ? CURLE_PROXY : message->data.result);
}

/// Takes the request off libcurl. One that is not complete loses its connection.
void HttpTransfer::end(CURLcode result) {
  if (active_) {
    curl_multi_remove_handle(multi_.get(), easy_.get());
    active_ = false;
    result_ = result;
  }
}

/// Leaves the response under way behind.
void HttpTransfer::settle() {
  const Clock::time_point until = Clock::now() + longestDiscarding;
  size_t discarded = 0;
  while (active_ && discarded < mostDiscarded && Clock::now() < until) {
    discarded += body_.size();
    body_.clear();
    wait([this] { return !body_.empty(); }, until);
  }
  end(CURLE_OK);
  body_.clear();
}

size_t HttpTransfer::onHeader(char* data, size_t size, size_t count, void* self) {
  HttpTransfer& transfer = *static_cast<HttpTransfer*>(self);
  transfer.lastByte_ = Clock::now();
  try {
    return transfer.header_.add(std::string_view(data, size * count)) ? size * count : 0;
  } catch (...) {
    transfer.thrown_ = std::current_exception();
    return 0;
  }
}

size_t HttpTransfer::onBody(char* data, size_t size, size_t count, void* self) {
  HttpTransfer& transfer = *static_cast<HttpTransfer*>(self);
  const size_t length = size * count;
  if (transfer.body_.size() + length > mostBuffered) {
    transfer.paused_ = true;
    return CURL_WRITEFUNC_PAUSE;
  }
  transfer.lastByte_ = Clock::now();
  transfer.bytesReceived_ += length;
  transfer.body_.insert(transfer.body_.end(), data, data + length);  // takes no memory, which was set aside
  return length;
}

int HttpTransfer::onConnected(void* self, char*, char*, int, int) {
  HttpTransfer& transfer = *static_cast<HttpTransfer*>(self);
  transfer.connected_ = true;
  transfer.lastByte_ = Clock::now();
  return CURL_PREREQFUNC_OK;
}

void HttpTransfer::readHeader() {
  HttpResponse response;
  response.headerLines = header_.lines();
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &response.status);
  curl_off_t length = -1;
  curl_easy_getinfo(easy_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  response.length = length;
  response.contentRange = parseContentRange(headerValue("Content-Range"));
  response.etag = headerValue("ETag");
  response.lastModified = headerValue("Last-Modified");
  response.icyMetadata = std::strtoll(headerValue("icy-metaint").c_str(), nullptr, 10) > 0;
  response_ = std::move(response);
}

std::string HttpTransfer::headerValue(const char* name) const {
  curl_header* header = nullptr;
  constexpr int ofLastRequest = -1;
  return curl_easy_header(easy_.get(), name, 0, CURLH_HEADER, ofLastRequest, &header) == CURLHE_OK ? header->value : "";
}

}  // namespace md::host
