#include "redirect/location_redirect.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "support/answer_text.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::AnalyzeResult;
using zu::md::common::quorin::checkHttpLocationRedirect;

std::string checkSource(const boost::shared_ptr<MdchUrlBase>& url) {
  AnalyzeResult result;
  checkHttpLocationRedirect(url, result);
  EXPECT_FALSE(result.strell);
  return answerText(result);
}

std::string check(const std::deque<std::string>& lines, int fault = 0) {
  return checkSource(boost::make_shared<ScriptedHttpSource>(SourceScript(), lines, fault));
}

TEST(LocationRedirect, GoesToTheLocationWithTheContentTypeOfTheAnswer) {
  EXPECT_EQ(check({"HTTP/1.1 302 Found\r\n", "Content-Type: text/html\r\n", "Location: http://x/y\r\n"}),
            "application/redirect http://x/y [text/html]");
}

TEST(LocationRedirect, HasNoContentTypeWhenTheAnswerHasNone) {
  EXPECT_EQ(check({"HTTP/1.1 302 Found\r\n", "Location: http://x/y\r\n"}), "application/redirect http://x/y []");
}

TEST(LocationRedirect, RepairsTheLocation) {
  EXPECT_EQ(check({"Location: HTTP://Host/a b\r\n"}), "application/redirect http://host/a%20b []");
}

TEST(LocationRedirect, StoresARelativeLocationAsItIs) {
  EXPECT_EQ(check({"Location: ../other\r\n"}), "application/redirect ../other []");
}

TEST(LocationRedirect, WithoutLocationThereIsNoAnswer) {
  EXPECT_EQ(check({"HTTP/1.1 302 Found\r\n", "Content-Type: text/html\r\n"}), "none");
  EXPECT_EQ(check({"Location:\r\n"}), "none");
  EXPECT_EQ(checkSource(boost::shared_ptr<MdchUrlBase>()), "none");
  EXPECT_EQ(checkSource(boost::make_shared<ScriptedSource>(SourceScript())), "none");
}

TEST(LocationRedirect, LogsTheLocationAsReceived) {
  const LogCapture log(4000);
  check({"Location: HTTP://Host/a b\r\n"});
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::checkHttpLocationRedirect() http location header redirect 'HTTP://Host/a b'\n");
}

TEST(LocationRedirect, AHeaderThatCannotBeReadIsLoggedAndNoAnswer) {
  const LogCapture log;
  EXPECT_EQ(check({"Location: http://x/y\r\n"}, -71), "none");
  EXPECT_EQ(log.dump(), "3000 Analyzer::Impl::checkHttpLocationRedirect() parseHeader error=-71.\n");
}

}  // namespace
}  // namespace quorin_test
