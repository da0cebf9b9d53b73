#include "load_items.h"

#include <boost/make_shared.hpp>

#include "driver/fault_samples.h"
#include "support/bytes.h"
#include "support/describe.h"

namespace quorin_test {

namespace {

const char* const scheme = "load";

/// The ways in which a source is good or damaged.
std::vector<SourceScript> variantsOf(const FaultSample& sample) {
  SourceScript intact;
  intact.bytes = sample.bytes;
  intact.seekable = !sample.live;
  intact.sizeKnown = !sample.live;
  std::vector<SourceScript> variants(8, intact);
  variants[1].bytes = head(sample.bytes, sample.bytes.size() / 2);
  variants[2].bytes = head(sample.bytes, 100);
  variants[3].failingOffset = 1000;
  variants[4].readFaults = {{1, -5}};
  variants[5].seekable = false;
  variants[5].sizeKnown = false;
  variants[6].declaredSize = 1LL << 40;
  variants[7].maxRead = 700;
  return variants;
}

}  // namespace

LoadItems::LoadItems() {
  addGoodAndDamaged();
  addAnswers();
  addFiles();
  md::registerUrlScheme(scheme, opener());
}

LoadItems::~LoadItems() { md::registerUrlScheme(scheme, md::UrlOpener()); }

md::UrlOpener LoadItems::opener() const {
  return [this](const std::string& uri, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
    return open(std::stoul(uri.substr(uri.find(':') + 1)), url);
  };
}

void LoadItems::addGoodAndDamaged() {
  for (const FaultSample& sample : faultSamples()) {
    for (const SourceScript& script : variantsOf(sample)) {
      add(0, script, sample.header);
    }
  }
}

/// What openers answer besides an item.
void LoadItems::addAnswers() {
  const std::deque<std::string> redirect = {"HTTP/1.1 302 Found\r\n", "Location: http://host/a b\r\n"};
  add(154, {}, redirect);
  add(154, {}, {"HTTP/1.1 302 Found\r\n"});
  add(154, {}, redirect, -5);
  add(154, {}, {}, 0, false);
  for (const int code : {0, 2, 11, 13, 22, 93, 150, 151, 152, 153, 155, 156, 999}) {
    add(code, {}, {}, 0, false);
  }
  for (const char* uri : {"http://host/a b", "none:item", "http:", "vdr2://no-such-medium/item"}) {
    uris_.emplace_back(uri);
  }
}

void LoadItems::addFiles() {
  for (const FaultSample& sample : faultSamples()) {
    uris_.push_back(folder_.write(sample.name, sample.bytes));
  }
  uris_.push_back(folder_.write("empty", Bytes()));
  uris_.push_back(folder_.path());
  uris_.push_back(folder_ / "missing");
}

void LoadItems::add(int code, const SourceScript& script, const std::deque<std::string>& header, int headerFault,
                    bool hasSource) {
  uris_.push_back(scheme + (':' + std::to_string(scripted_.size())));
  scripted_.push_back({code, script, header, headerFault, hasSource});
}

int LoadItems::open(size_t number, boost::shared_ptr<MdchUrlBase>& url) const {
  const Scripted& item = scripted_.at(number);
  if (item.hasSource && item.header.empty()) {
    url = boost::make_shared<ScriptedSource>(item.script);
  } else if (item.hasSource) {
    url = boost::make_shared<ScriptedHttpSource>(item.script, item.header, item.headerFault);
  }
  return item.code;
}

std::string outcomeOf(zu::md::common::quorin::Analyzer& analyzer, const std::string& uri) {
  zu::md::common::strell::OpenParams params;
  params.uri = uri;
  boost::shared_ptr<zu::md::common::quorin::AnalyzeResult> result;
  const int status = analyzer.analyze(params, result);
  return std::to_string(status) + '\n' + describe(result ? result->info.get() : nullptr);
}

}  // namespace quorin_test
