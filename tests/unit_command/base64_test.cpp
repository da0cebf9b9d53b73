#include "output/base64.h"

#include <gtest/gtest.h>

namespace quorin_command {
namespace {

TEST(Base64, WritesAndReadsTheExamplesOfItsStandard) {
  const std::pair<const char*, const char*> examples[] = {{"", ""},
                                                          {"f", "Zg=="},
                                                          {"fo", "Zm8="},
                                                          {"foo", "Zm9v"},
                                                          {"foob", "Zm9vYg=="},
                                                          {"fooba", "Zm9vYmE="},
                                                          {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : examples) {
    EXPECT_EQ(base64(bytes), text);
    EXPECT_EQ(fromBase64(text), bytes);
  }
}

TEST(Base64, KeepsEveryByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
  }
  EXPECT_EQ(fromBase64(base64(bytes)), bytes);
}

TEST(Base64, ReadsNothingThatIsNotWholeAndPadded) {
  for (const char* text : {"Z", "Zg", "Zg=", "Zg=g", "=", "====", "Z===", "Zm9v\n", "Zm9vZg", "Zm-_", "Zm9\xff"}) {
    EXPECT_EQ(fromBase64(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quorin_command
