#include "http/http_window.h"

#include <gtest/gtest.h>

#include "http_client.h"
#include "support/bytes.h"

namespace {

using md::host::HttpWindow;
using quorin_test::Bytes;
using quorin_test::slice;
using quorin_test::testBytes;

TEST(HttpWindow, HoldsNothingAtFirst) {
  HttpWindow window;
  EXPECT_EQ(window.end(), 0);
  EXPECT_FALSE(window.holds(0));
  unsigned char byte = 7;
  EXPECT_EQ(window.copy(0, &byte, 1), 0U);
}

TEST(HttpWindow, CopiesWhatIsAtHand) {
  HttpWindow window;
  window.append({1, 2, 3});
  window.append({4, 5});
  Bytes buffer(10);
  EXPECT_EQ(window.copy(1, buffer.data(), 2), 2U);
  EXPECT_EQ(slice(buffer, 0, 2), (Bytes{2, 3}));
  EXPECT_EQ(window.copy(3, buffer.data(), 10), 2U);
  EXPECT_EQ(slice(buffer, 0, 2), (Bytes{4, 5}));
  EXPECT_FALSE(window.holds(5));
}

TEST(HttpWindow, KeepsTheHistoryAndLittleMore) {
  HttpWindow window;
  const Bytes bytes = testBytes(1000000);
  for (long long at = 0; at < 1000000; at += 1000) {
    window.append(slice(bytes, at, 1000));
  }
  EXPECT_EQ(window.end(), 1000000);
  const auto history = static_cast<long long>(HttpWindow::history);
  EXPECT_TRUE(window.holds(window.end() - history));
  EXPECT_FALSE(window.holds(window.end() - 2 * history - 1001));
  Bytes buffer(HttpWindow::history);
  ASSERT_EQ(window.copy(window.end() - history, buffer.data(), HttpWindow::history), HttpWindow::history);
  EXPECT_TRUE(buffer == slice(bytes, window.end() - history, HttpWindow::history));
}

TEST(HttpWindow, ForgetsOnlyWhatIsNotContinued) {
  HttpWindow window;
  window.append({1, 2, 3});
  window.continueAt(3);
  EXPECT_TRUE(window.holds(0));
  window.continueAt(100);
  EXPECT_FALSE(window.holds(0));
  EXPECT_FALSE(window.holds(100));
  EXPECT_EQ(window.end(), 100);
  window.append({9});
  EXPECT_TRUE(window.holds(100));
}

}  // namespace
