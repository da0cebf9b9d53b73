#include "item/source_watch.h"

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>
#include <deque>
#include <string>
#include <utility>

#include "md/url.h"

namespace quorin_command {

namespace {

thread_local Sighting seen;

/// Remembers what was read. Reads in a row count as one: there may be any number.
void note(Span span) {
  if (!seen.read.empty() && seen.read.back().end == span.begin) {
    seen.read.back().end = span.end;
  } else {
    seen.read.push_back(span);
  }
}

/// A source that passes everything on and remembers failed reads, and which bytes were read. `Interface` is what the
/// source can do.
template <typename Interface>
class WatchedSource : public Interface {
 public:
  explicit WatchedSource(boost::shared_ptr<Interface> source) : source_(std::move(source)) {}
  ~WatchedSource() override { add(seen.closed, source_->cost()); }
  WatchedSource(const WatchedSource&) = delete;
  WatchedSource& operator=(const WatchedSource&) = delete;

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    const int status = source_->read(buffer, length, bytesRead);
    note({position_, position_ + bytesRead});
    position_ += bytesRead;
    if (status != 0) {
      seen.readFailure = status;
    }
    return status;
  }
  int seek(long long offset) override {
    const int status = source_->seek(offset);
    position_ = status == 0 ? offset : position_;
    return status;
  }
  int tell(long long& offset) override { return source_->tell(offset); }
  int size(long long& bytes) override { return source_->size(bytes); }
  int getSeekable(bool& seekable) override { return source_->getSeekable(seekable); }
  UrlCost cost() const override { return source_->cost(); }

 protected:
  boost::shared_ptr<Interface> source_;

 private:
  long long position_ = 0;
};

class WatchedHttp : public WatchedSource<md::HttpAccess> {
 public:
  using WatchedSource::WatchedSource;

  int getHeaderList(std::deque<std::string>& lines) override { return source_->getHeaderList(lines); }
};

boost::shared_ptr<MdchUrlBase> watched(const boost::shared_ptr<MdchUrlBase>& source) {
  if (const auto http = boost::dynamic_pointer_cast<md::HttpAccess>(source)) {
    return boost::make_shared<WatchedHttp>(http);
  }
  return boost::make_shared<WatchedSource<MdchUrlBase>>(source);
}

}  // namespace

void add(UrlCost& sum, const UrlCost& cost) {
  sum.bytes += cost.bytes;
  sum.reads += cost.reads;
  sum.requests += cost.requests;
}

void watchSources() {
  for (const char* scheme : {"", "file", "vdr2", "http", "https"}) {
    md::registerUrlScheme(scheme, [inner = md::urlOpener(scheme)](const std::string& uri, const MdchOpenParams& params,
                                                                  boost::shared_ptr<MdchUrlBase>& url) {
      boost::shared_ptr<MdchUrlBase> opened;
      seen.openCode = inner(uri, params, opened);
      if (opened) {
        url = watched(opened);
      }
      return seen.openCode;
    });
  }
}

const Sighting& sighting() { return seen; }

void forgetSightings() { seen = Sighting(); }

}  // namespace quorin_command
