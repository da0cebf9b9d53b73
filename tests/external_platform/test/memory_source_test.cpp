// The sources of this platform keep the contract of all sources.

#include <gtest/gtest.h>

#include "contract/source_contract.h"
#include "items.h"

namespace quorin_test {
namespace {

class MemorySources : public SourceFactory {
 public:
  ~MemorySources() override { memory_platform::clear(); }

  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    memory_platform::put("memory:item", bytes);
    boost::shared_ptr<MdchUrlBase> source;
    EXPECT_EQ(mdch_OpenUrl("memory:item", 0, MdchOpenParams(), source), 0);
    return source;
  }
};

INSTANTIATE_TEST_SUITE_P(Memory, SourceContract,
                         testing::Values(SourceKind{"Item", true, true, makeFactory<MemorySources>}), sourceKindName);

}  // namespace
}  // namespace quorin_test
