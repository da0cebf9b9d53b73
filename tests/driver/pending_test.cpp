#include <gtest/gtest.h>
TEST(Pending, Nothing) {}
