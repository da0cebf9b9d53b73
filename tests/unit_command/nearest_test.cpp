#include "command_line/nearest.h"

#include <gtest/gtest.h>

namespace quorin_command {
namespace {

const std::vector<std::string_view> known = {"probe", "help", "version"};

TEST(Nearest, FindsAWordWithOneMistake) {
  EXPECT_EQ(nearest("prob", known), "probe");
  EXPECT_EQ(nearest("probee", known), "probe");
  EXPECT_EQ(nearest("prode", known), "probe");
  EXPECT_EQ(nearest("porbe", known), "probe");
  EXPECT_EQ(nearest("help", known), "help");
}

TEST(Nearest, FindsAWordWithTwoMistakes) { EXPECT_EQ(nearest("vresoin", known), "version"); }

TEST(Nearest, LeavesOtherWordsAlone) {
  for (const char* word : {"", "song", "kelpie", "p", "probability", "a.mp3"}) {
    EXPECT_EQ(nearest(word, known), "") << word;
  }
}

TEST(Nearest, IsNotHeldUpByALongWord) { EXPECT_EQ(nearest(std::string(1 << 20, 'x'), known), ""); }

}  // namespace
}  // namespace quorin_command
