#include "map/spans.h"

#include <gtest/gtest.h>

namespace quorin_command {

static void PrintTo(const Span& span, std::ostream* out) { *out << '[' << span.begin << ", " << span.end << ')'; }

namespace {

using Spans = std::vector<Span>;

TEST(Spans, ApartStayApartAndInOrder) { EXPECT_EQ(merged({{20, 30}, {0, 10}}), (Spans{{0, 10}, {20, 30}})); }

TEST(Spans, ThatTouchBecomeOne) { EXPECT_EQ(merged({{10, 20}, {0, 10}}), (Spans{{0, 20}})); }

TEST(Spans, ThatOverlapBecomeOne) {
  EXPECT_EQ(merged({{0, 10}, {5, 15}}), (Spans{{0, 15}}));
  EXPECT_EQ(merged({{0, 100}, {5, 15}, {100, 101}}), (Spans{{0, 101}}));
  EXPECT_EQ(merged({{0, 10}, {0, 10}}), (Spans{{0, 10}}));
}

TEST(Spans, EmptyOnesGo) {
  EXPECT_EQ(merged({}), Spans());
  EXPECT_EQ(merged({{5, 5}, {0, 0}}), Spans());
  EXPECT_EQ(merged({{0, 5}, {7, 7}, {9, 10}}), (Spans{{0, 5}, {9, 10}}));
}

TEST(Spans, BytesAreCountedBeyondFourGigabytes) {
  EXPECT_EQ(lengthOf({}), 0);
  EXPECT_EQ(lengthOf({{0, 4096}, {5000000000, 5000000128}}), 4224);
  EXPECT_EQ(lengthOf({{0, 5000000000}}), 5000000000);
}

}  // namespace
}  // namespace quorin_command
