#include "item/errors.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace quorin_command {
namespace {

constexpr int openFailed = -294;

TEST(Errors, EveryCodeOfTheUrlLayerHasAName) {
  const std::pair<int, const char*> names[] = {{2, "not_found"},
                                               {11, "busy"},
                                               {13, "permission_denied"},
                                               {22, "bad_uri"},
                                               {93, "no_opener"},
                                               {150, "no_such_host"},
                                               {151, "connection_refused"},
                                               {152, "tls_failed"},
                                               {153, "http_client_error"},
                                               {155, "http_server_error"},
                                               {156, "timed_out"},
                                               {5, "io_error"}};
  for (const auto& [code, name] : names) {
    EXPECT_EQ(openError("http://host/", openFailed, code).name, name) << code;
    EXPECT_FALSE(openError("http://host/", openFailed, code).message.empty()) << code;
  }
}

TEST(Errors, ARedirectThatIsNotFollowedTellsWhatWouldHelp) {
  EXPECT_EQ(tooManyRedirects(1).message, "still a redirect after one (--follow takes a higher number)");
  EXPECT_EQ(tooManyRedirects(20).message, "still a redirect after 20 (--follow takes a higher number)");
  EXPECT_NE(localTarget().message.find("--allow-local"), std::string::npos);
}

// A file that something is mounted on cannot be replaced, either.
TEST(Errors, ABusyFileIsNotTakenForOneOfOurOwn) {
  EXPECT_EQ(cannotWrite("a", EBUSY).message, "a: device or resource busy");
  EXPECT_EQ(cannotWrite("a", EINPROGRESS).message, "a takes other output, and stays as it is ('-' is standard output)");
}

TEST(Errors, AServersAnswerIsToldWithItsNumber) {
  EXPECT_EQ(openError("http://host/x", -296, 2).message, "the server has no such item (HTTP 404 or 410)");
  EXPECT_EQ(openError("/x", -296, 2).message, "no such file or directory");
}

TEST(Errors, ASchemeThatNobodyOpensIsNamed) {
  EXPECT_EQ(openError("mms://host/x", -297, 93).message, "nothing here opens \"mms:\"");
}

TEST(Errors, TheLibrarysOwnStatusComesFirst) {
  EXPECT_EQ(openError("x", -291, 0).name, "internal");
  EXPECT_EQ(openError("", -292, 93).name, "empty_uri");
  EXPECT_EQ(openError("http://h/", -293, 154).name, "redirect_without_location");
}

TEST(Errors, AStatusWithoutACauseIsInternal) { EXPECT_EQ(openError("/x", -1002, 0).name, "internal"); }

TEST(Errors, ReadFailuresAreToldApart) {
  EXPECT_EQ(readError(-110).name, "timed_out");
  EXPECT_EQ(readError(-104).message, "the connection ended before the item did");
  EXPECT_EQ(readError(-116).message, "the item changed while it was read");
  EXPECT_EQ(readError(-5).name, "io_error");
}

}  // namespace
}  // namespace quorin_command
