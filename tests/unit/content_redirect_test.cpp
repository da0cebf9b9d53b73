#include "redirect/content_redirect.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <random>

#include "quorin/info.h"
#include "support/answer_text.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {
namespace {

namespace strell = zu::md::common::strell;
using zu::md::common::quorin::AnalyzeResult;
using zu::md::common::quorin::checkContentRedirect;
using zu::md::common::quorin::HeaderInfo;
using zu::md::common::quorin::Info;

constexpr size_t limit = 10000;  // bytes of a playlist that are looked at

SourceScript scriptOf(const std::string& body) {
  SourceScript script;
  script.bytes.assign(body.begin(), body.end());
  script.seekable = false;
  script.sizeKnown = false;
  return script;
}

boost::shared_ptr<strell::Strell> attached(const boost::shared_ptr<MdchUrlBase>& source) {
  const auto access = boost::make_shared<strell::Strell>();
  EXPECT_EQ(access->attach(source), 0);
  return access;
}

/// What the check made of an item.
struct Outcome {
  int status = 0;
  AnalyzeResult result;

  std::string text() const { return answerText(result); }
};

Outcome checkSource(const std::string& contentType, const boost::shared_ptr<MdchUrlBase>& source) {
  Outcome outcome;
  outcome.status = checkContentRedirect(HeaderInfo{contentType, ""}, attached(source), outcome.result);
  return outcome;
}

Outcome check(const std::string& contentType, const SourceScript& script) {
  return checkSource(contentType, boost::make_shared<ScriptedSource>(script));
}

Outcome check(const std::string& contentType, const std::string& body) { return check(contentType, scriptOf(body)); }

const char* const asfTypes[] = {"audio/x-ms-wax", "audio/x-ms-asf", "video/x-ms-wvx", "video/x-ms-asf"};
const char* const m3uTypes[] = {"audio/mpegurl", "audio/x-mpegurl"};

const std::string entryDocument = "<ASX><ENTRY><REF HREF=\"http://a/s\"/></ENTRY></ASX>";
const std::string entryRefDocument = "<asx><entryref href=\"http://a/b.asx\"/></asx>";

TEST(ContentRedirect, NeedsAMediaAccess) {
  const LogCapture log;
  AnalyzeResult result;
  EXPECT_EQ(checkContentRedirect(HeaderInfo{"audio/mpegurl", ""}, boost::shared_ptr<strell::Strell>(), result), -292);
  EXPECT_FALSE(result.info);
  EXPECT_EQ(log.dump(), "3000 Analyzer::Impl::checkContentRedirect() need strell.\n");
}

TEST(ContentRedirect, AnyOtherContentTypeIsNotRead) {
  for (const char* type : {"", "audio/mpeg", "text/plain", "application/xml", "audio/x-ms-wa", " audio/mpegurl",
                           "application/vnd.apple.mpegurl", "audio/x-scpls"}) {
    const LogCapture log;
    const auto source = boost::make_shared<ScriptedSource>(scriptOf("http://host/a"));
    const Outcome outcome = checkSource(type, source);
    EXPECT_EQ(outcome.status, 0) << type;
    EXPECT_EQ(outcome.text(), "none") << type;
    EXPECT_EQ(source->calls.reads, 0) << type;
    EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::checkContentRedirect() no redirect interesting contentType.\n") << type;
  }
}

TEST(ContentRedirect, PlaylistTypesIgnoreCaseAndParameters) {
  EXPECT_EQ(check("AUDIO/X-MPEGURL", "http://host/a").text(), "application/redirect http://host/a [AUDIO/X-MPEGURL]");
  EXPECT_EQ(check("audio/x-mpegurl; charset=utf-8", "http://host/a").text(),
            "application/redirect http://host/a [audio/x-mpegurl; charset=utf-8]");
}

TEST(ContentRedirect, PlaylistTypesAreComparedOverTheirLengthOnly) {
  EXPECT_EQ(check("audio/x-ms-asfoo", "http://host/a").text(),
            "application/redirect-asf mmsh://host/a [audio/x-ms-asfoo]");
}

TEST(ContentRedirect, ABareUrlOfAnM3UTypeIsAnOrdinaryRedirect) {
  for (const std::string type : m3uTypes) {
    EXPECT_EQ(check(type, "http://host/stream").text(), "application/redirect http://host/stream [" + type + ']');
  }
}

TEST(ContentRedirect, ABareUrlOfAnAsfTypeIsAnAsfStream) {
  for (const std::string type : asfTypes) {
    EXPECT_EQ(check(type, "http://host/stream").text(), "application/redirect-asf mmsh://host/stream [" + type + ']');
  }
}

TEST(ContentRedirect, AnEntryReferenceKeepsItsScheme) {
  for (const std::string type : {asfTypes[0], m3uTypes[0]}) {
    EXPECT_EQ(check(type, entryRefDocument).text(), "application/redirect http://a/b.asx [" + type + ']');
  }
}

TEST(ContentRedirect, AReferenceOfAnEntryIsAnAsfStream) {
  for (const std::string type : {asfTypes[0], m3uTypes[0]}) {
    EXPECT_EQ(check(type, entryDocument).text(), "application/redirect-asf mmsh://a/s [" + type + ']');
  }
}

TEST(ContentRedirect, AReferenceSectionIsAnAsfStream) {
  EXPECT_EQ(check("video/x-ms-asf", "[Reference]\r\nRef1=http://h/s?MSWMExt=.asf\r\n").text(),
            "application/redirect-asf mmsh://h/s?MSWMExt=.asf [video/x-ms-asf]");
}

TEST(ContentRedirect, AReferenceSectionBehindAnEntryReferenceIsNone) {
  EXPECT_EQ(check("video/x-ms-asf", "<asx><entryref/>[Reference]\r\nRef1=http://h/s\r\n").text(),
            "application/redirect http://h/s [video/x-ms-asf]");
}

TEST(ContentRedirect, AnM3UListIsAnOrdinaryRedirectWhateverItsType) {
  for (const std::string type : {asfTypes[1], m3uTypes[1]}) {
    EXPECT_EQ(check(type, "#EXTM3U\r\nhttp://host/a\r\n").text(), "application/redirect http://host/a [" + type + ']');
  }
}

TEST(ContentRedirect, TheSchemeToReplaceIsSearchedInLowerCase) {
  const LogCapture log;
  const std::string redirect = check("video/x-ms-asf", "HTTP://a/s").text();
  EXPECT_EQ(redirect.find("application/redirect-asf "), 0U);
  EXPECT_EQ(redirect.find("mmsh"), std::string::npos) << redirect;
  EXPECT_EQ(log.count(4000, "checkContentRedirect() SIMPLE redirect to HTTP://a/s\n"), 1);
}

TEST(ContentRedirect, OnlyTheFirstOccurrenceOfTheSchemeIsReplaced) {
  EXPECT_EQ(check("video/x-ms-asf", "http://a/?u=http://b/").text(),
            "application/redirect-asf mmsh://a/?u=http://b/ [video/x-ms-asf]");
}

TEST(ContentRedirect, TheSchemeIsReplacedWhereverItStands) {
  EXPECT_EQ(check("video/x-ms-asf", "rtsp://a/?u=http://b/").text(),
            "application/redirect-asf rtsp://a/?u=mmsh://b/ [video/x-ms-asf]");
}

TEST(ContentRedirect, ATargetWithoutTheSchemeStaysAsItIs) {
  EXPECT_EQ(check("video/x-ms-asf", "mms://a/s").text(), "application/redirect-asf mms://a/s [video/x-ms-asf]");
  EXPECT_EQ(check("video/x-ms-asf", "https://a/s").text(), "application/redirect-asf https://a/s [video/x-ms-asf]");
}

TEST(ContentRedirect, ARelativeTargetIsStoredAsItIs) {
  EXPECT_EQ(check("video/x-ms-asf", "<asx><entryref href=\"more.asx\">").text(),
            "application/redirect more.asx [video/x-ms-asf]");
}

TEST(ContentRedirect, TheTargetIsRepaired) {
  EXPECT_EQ(check("audio/mpegurl", "#EXTM3U\nhttp://Host/My Song.mp3\n").text(),
            "application/redirect http://host/My%20Song.mp3 [audio/mpegurl]");
}

TEST(ContentRedirect, ReplacesAnInfoHeldBefore) {
  Outcome outcome;
  outcome.result.info = boost::make_shared<Info>();
  checkContentRedirect(HeaderInfo{"audio/mpegurl", ""},
                       attached(boost::make_shared<ScriptedSource>(scriptOf("http://host/a"))), outcome.result);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, LogsAnAsxDocument) {
  const LogCapture log;
  check("audio/x-ms-wax", entryDocument);
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n"
            "4000 checkContentRedirect() ASX redirect to http://a/s\n"
            "4000 Analyzer::Impl::checkContentRedirect() asx m3u redirect  'mmsh://a/s' 'application/redirect-asf'\n");
}

TEST(ContentRedirect, LogsABareUrl) {
  const LogCapture log;
  check("audio/mpegurl", "http://host/a b\n");
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n"
            "4000 checkContentRedirect() SIMPLE redirect to http://host/a b\n"
            "4000 Analyzer::Impl::checkContentRedirect() asx m3u redirect  'http://host/a%20b' "
            "'application/redirect'\n");
}

TEST(ContentRedirect, LogsAnM3UList) {
  const LogCapture log;
  check("audio/mpegurl", "#EXTM3U\nhttp://host/a\n");
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n"
            "4000 checkContentRedirect() m3u redirect (2) to http://host/a\n"
            "4000 Analyzer::Impl::checkContentRedirect() asx m3u redirect  'http://host/a' 'application/redirect'\n");
}

TEST(ContentRedirect, LogsATextThatNamesNoStreamWhole) {
  const LogCapture log;
  const std::string body = "#EXTM3U\r\n" + std::string(5000, 'x');
  const Outcome outcome = check("audio/mpegurl", body);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "none");
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n"
            "4000 parseM3U() Unknown protocol for redirect \"" +
                std::string(5000, 'x') +
                "\"\n"
                "3000 checkContentRedirect() can not parse content:\n" +
                body + "\n");
}

TEST(ContentRedirect, AnEmptyBodyIsNoPlaylist) {
  const LogCapture log;
  const Outcome outcome = check("audio/mpegurl", "");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "none");
  EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n");
}

TEST(ContentRedirect, AReadErrorWithoutBytesIsNoPlaylistAndNoError) {
  SourceScript script = scriptOf("http://host/a");
  script.failingOffset = 0;
  const LogCapture log;
  const Outcome outcome = check("audio/mpegurl", script);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "none");
  EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n");
}

TEST(ContentRedirect, AReadErrorBehindBytesIsReturnedWithTheRedirect) {
  SourceScript script = scriptOf("http://host/a\nand more that never comes");
  script.failingOffset = 15;
  script.failingOffsetCode = -104;
  const Outcome outcome = check("audio/mpegurl", script);
  EXPECT_EQ(outcome.status, -104);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, AReadErrorBehindBytesThatNameNoStreamIsReturned) {
  SourceScript script = scriptOf("#EXTM3U\nhttp://host/a\n");
  script.failingOffset = 9;
  script.failingOffsetCode = -104;
  const Outcome outcome = check("audio/mpegurl", script);
  EXPECT_EQ(outcome.status, -104);
  EXPECT_EQ(outcome.text(), "none");
}

TEST(ContentRedirect, ABodyThatComesByteByByteIsReadWhole) {
  SourceScript script = scriptOf("#EXTM3U\r\nhttp://host/a\r\n");
  script.maxRead = 1;
  EXPECT_EQ(check("audio/mpegurl", script).text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, ATargetThatEndsAtTheLimitIsFollowed) {
  const std::string url = "http://host/a";
  const std::string head = "#EXT" + std::string(limit - 5 - url.size(), 'x') + '\n' + url;
  ASSERT_EQ(head.size(), limit);
  for (const char* rest : {"", "\nhttp://host/b\n"}) {
    EXPECT_EQ(check("audio/mpegurl", head + rest).text(), "application/redirect http://host/a [audio/mpegurl]");
  }
}

TEST(ContentRedirect, ATargetThatRunsOverTheLimitIsCutThere) {
  const std::string head = "#EXT" + std::string(limit - 5 - 13, 'x') + '\n' + "http://host/a";
  EXPECT_EQ(check("audio/mpegurl", head + "bc\n").text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, ATargetBehindTheLimitIsNotSeen) {
  const std::string head = "#EXT" + std::string(limit - 5, 'x') + '\n';
  ASSERT_EQ(head.size(), limit);
  EXPECT_EQ(check("audio/mpegurl", head + "http://host/a\n").text(), "none");
}

TEST(ContentRedirect, ATargetBeforeTheLimitOfALongBodyIsFollowed) {
  EXPECT_EQ(check("audio/mpegurl", "http://host/a\n" + std::string(50000, '\n')).text(),
            "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, NoMoreThanTheLimitIsReadFromTheMediaAccess) {
  const auto access =
      attached(boost::make_shared<ScriptedSource>(scriptOf("http://host/a\n" + std::string(50000, '\n'))));
  AnalyzeResult result;
  EXPECT_EQ(checkContentRedirect(HeaderInfo{"audio/mpegurl", ""}, access, result), 0);
  long long position = -1;
  EXPECT_EQ(access->tell(position), 0);
  EXPECT_EQ(position, static_cast<long long>(limit));
}

TEST(ContentRedirect, ABodyWithNulsIsReadUpToTheFirst) {
  const std::string nul(1, '\0');
  EXPECT_EQ(check("audio/mpegurl", "http://host/a" + nul + "b\n").text(),
            "application/redirect http://host/a [audio/mpegurl]");
  const LogCapture log;
  EXPECT_EQ(check("audio/mpegurl", "#EXTM3U" + nul + "\nhttp://host/a\n").text(), "none");
  EXPECT_EQ(log.count(3000, "checkContentRedirect() can not parse content:\n#EXTM3U\n"), 1);
}

TEST(ContentRedirect, MetadataInTheMiddleIsDropped) {
  const std::string metadata = "\x01StreamTitle='x';";
  ASSERT_EQ(metadata.size(), 17U);
  const auto source = boost::make_shared<ScriptedHttpSource>(scriptOf("http://h" + metadata + "ost/a\n"),
                                                             std::deque<std::string>{"icy-metaint: 8\r\n"});
  EXPECT_EQ(checkSource("audio/mpegurl", source).text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(ContentRedirect, AnyBodyIsARedirectOrNothing) {
  std::mt19937 random(99);
  static const std::string pieces[] = {"<asx", "<entryref", "<entry", "<ref",    "\"",  "[Reference]",
                                       "=",    "\r",        "\n",     "http://", "#EXT"};
  for (int round = 0; round < 2000; ++round) {
    std::string body;
    for (auto n = random() % 12; n != 0; --n) {
      body += random() % 3 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % std::size(pieces)];
    }
    const Outcome outcome = check(round % 2 == 0 ? asfTypes[0] : m3uTypes[0], body);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.text() == "none" || outcome.text().find("application/redirect") == 0) << outcome.text();
  }
}

}  // namespace
}  // namespace quorin_test
