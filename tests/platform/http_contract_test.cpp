// The contract of byte sources, over what a real server makes of one item.
#include "contract/source_contract.h"
#include "http_client.h"
#include "support/nginx.h"

namespace quorin_test {
namespace {

class HttpSources : public SourceFactory {
 public:
  explicit HttpSources(std::string place) : place_(std::move(place)) {}

  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    const std::string name = "item" + std::to_string(items_++);
    nginx_.serve(name, bytes);
    return openUrl(nginx_.url(place_ + name)).url;
  }

 private:
  const std::string place_;
  const Nginx nginx_;
  int items_ = 0;
};

SourceKind http(const std::string& name, const std::string& place, bool seekable, bool sizeKnown) {
  return SourceKind{name, seekable, sizeKnown, [place] { return std::make_unique<HttpSources>(place); }};
}

INSTANTIATE_TEST_SUITE_P(Http, SourceContract,
                         testing::Values(http("Ranges", "/", true, true),
                                         http("OneRequestPerConnection", "/oneshot/", true, true),
                                         http("NoRanges", "/norange/", false, true),
                                         http("RangesRefused", "/norange406/", false, true),
                                         http("Chunked", "/chunked/", false, false),
                                         http("EndsWithTheConnection", "/nolength/", false, false)),
                         sourceKindName);

}  // namespace
}  // namespace quorin_test
