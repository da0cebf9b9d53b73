#include <gtest/gtest.h>

#include "quorin/quorin_url_rework.h"

namespace {

/// The translator registry logs its making, which the first analysis of a process would show among its own lines.
class RegistryMade : public testing::Environment {
 public:
  void SetUp() override { zu::md::common::quorin::QuorinUrlRework::getInstance(); }
};

const auto* const registryMade = testing::AddGlobalTestEnvironment(new RegistryMade);

}  // namespace
