// Everything else is tested over scripted sources: they have to keep the contract themselves.
#include "support/scripted_source.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "source_contract.h"
#include "support/bytes.h"

namespace quorin_test {
namespace {

class ScriptedSources : public SourceFactory {
 public:
  explicit ScriptedSources(SourceScript script) : script_(std::move(script)) {}

  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    SourceScript script = script_;
    script.bytes = bytes;
    return boost::make_shared<ScriptedSource>(script);
  }

 private:
  SourceScript script_;
};

SourceKind scripted(const std::string& name, bool seekable, bool sizeKnown, unsigned int maxRead) {
  SourceScript script;
  script.seekable = seekable;
  script.sizeKnown = sizeKnown;
  script.maxRead = maxRead;
  return SourceKind{name, seekable, sizeKnown, [script] { return std::make_unique<ScriptedSources>(script); }};
}

INSTANTIATE_TEST_SUITE_P(
    Scripted, SourceContract,
    testing::Values(scripted("Seekable", true, true, 0), scripted("SeekableOfUnknownSize", true, false, 0),
                    scripted("NotSeekable", false, true, 0), scripted("NotSeekableOfUnknownSize", false, false, 0),
                    scripted("OneByteReads", true, true, 1), scripted("SevenByteReads", false, false, 7)),
    sourceKindName);

}  // namespace
}  // namespace quorin_test
