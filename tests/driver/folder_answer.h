#pragma once

#include <gtest/gtest.h>

#include <string>

#include "driver/analysis.h"

namespace quorin_test {

inline void expectFolder(const std::string& uri) {
  const Analysis analysis(uri);
  EXPECT_EQ(analysis.status, 0) << uri;
  EXPECT_EQ(analysis.answer, "application/folder\n") << uri;
  EXPECT_FALSE(analysis.result->strell) << uri;
}

inline void expectNoFolder(const std::string& uri) { EXPECT_NE(Analysis(uri).answer, "application/folder\n") << uri; }

}  // namespace quorin_test
