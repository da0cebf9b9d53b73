#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "quorin/analyzer.h"
#include "quorin/quorin_url_rework.h"
#include "support/answer_text.h"
#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {
namespace {

using testing::StartsWith;
using zu::md::common::quorin::Analyzer;
using zu::md::common::quorin::AnalyzeResult;
using zu::md::common::quorin::QuorinUrlRework;
using zu::md::common::quorin::UrlTranslator;
using zu::md::common::strell::OpenParams;

/// What the driver made of a URI.
struct Outcome {
  int status = 0;
  boost::shared_ptr<AnalyzeResult> result;

  std::string text() const { return answerText(*result); }
};

Outcome analyze(const std::string& uri) {
  OpenParams params;
  params.uri = uri;
  Outcome outcome;
  outcome.status = Analyzer(Analyzer::MODE_AUDIO).analyze(params, outcome.result);
  return outcome;
}

SourceScript scriptOf(const std::string& body) {
  SourceScript script;
  script.bytes.assign(body.begin(), body.end());
  return script;
}

/// An opener whose every item is answered with `code`, a header and a body.
ScriptedScheme::Opener serving(int code, const std::deque<std::string>& header, const SourceScript& script,
                               int headerFault = 0) {
  return [=](const std::string&) {
    return ScriptedScheme::Answer{code, boost::make_shared<ScriptedHttpSource>(script, header, headerFault)};
  };
}

ScriptedScheme::Opener servingPlaylist(const std::string& contentType, const SourceScript& script) {
  return serving(0, {"HTTP/1.1 200 OK\r\n", "Content-Type: " + contentType + "\r\n"}, script);
}

/// A translator of every URI, registered while it lives.
class Translation {
 public:
  Translation(int result, std::string text) : translator_(boost::make_shared<Fixed>(result, std::move(text))) {
    QuorinUrlRework::getInstance().add(translator_);
  }
  ~Translation() { QuorinUrlRework::getInstance().remove(translator_); }
  Translation(const Translation&) = delete;
  Translation& operator=(const Translation&) = delete;

 private:
  struct Fixed : UrlTranslator {
    Fixed(int r, std::string t) : result(r), text(std::move(t)) {}
    int translate(std::string const&, std::string& translated) override {
      translated = text;
      return result;
    }
    int result;
    std::string text;
  };
  boost::shared_ptr<UrlTranslator> translator_;
};

const std::string untranslated =
    "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
    "4000 quorin-url-rework.cpp:#:reworkUrl(): done. not translated. ";

TEST(DriverTranslation, IsARedirectAndNothingIsOpened) {
  const ScriptedScheme scheme("svc", SourceScript());
  const Translation translation(1, "http://host/1");
  const LogCapture log;
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/1 []");
  EXPECT_FALSE(outcome.result->strell);
  EXPECT_TRUE(scheme.opened.empty());
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::analyze() analyze 'svc:1'.\n"
            "4000 quorin-url-rework.cpp:#:reworkUrl(): called\n"
            "4000 quorin-url-rework.cpp:#:reworkUrl(): translated 'svc:1' to 'http://host/1'\n"
            "4000 Analyzer::Impl::checkUrlTranslate() redirect url translate 'http://host/1'\n");
}

TEST(DriverTranslation, ComesBeforeEverythingElseAndIsTakenAsItIs) {
  const Translation translation(1, "HTTP://Other/a b");
  EXPECT_EQ(analyze("HTTP://Host/a").text(), "application/redirect HTTP://Other/a b []");
  EXPECT_EQ(analyze("/").text(), "application/redirect HTTP://Other/a b []");
  EXPECT_EQ(analyze("file").text(), "application/redirect HTTP://Other/a b []");
}

TEST(DriverTranslation, ToNothingOrToItselfIsARedirectAllTheSame) {
  {
    const Translation translation(1, "");
    EXPECT_EQ(analyze("svc:1").text(), "application/redirect  []");
  }
  const Translation translation(1, "svc:1");
  EXPECT_EQ(analyze("svc:1").text(), "application/redirect svc:1 []");
}

TEST(DriverTranslation, ThatFailsOrIsNoneLetsTheItemPass) {
  for (const int result : {-5, 0, 2}) {
    const ScriptedScheme scheme("svc", servingPlaylist("audio/mpegurl", scriptOf("http://host/1")));
    const Translation translation(result, "http://wrong/");
    EXPECT_EQ(analyze("svc:1").text(), "application/redirect http://host/1 [audio/mpegurl]") << result;
    EXPECT_EQ(scheme.opened.size(), 1U);
  }
}

TEST(DriverWellFormed, AMalformedUrlIsARedirectAndNothingIsOpened) {
  const ScriptedScheme scheme("http", SourceScript());
  const LogCapture log;
  const Outcome outcome = analyze("HTTP://Host/a b");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/a%20b []");
  EXPECT_FALSE(outcome.result->strell);
  EXPECT_TRUE(scheme.opened.empty());
  EXPECT_THAT(log.dump(), StartsWith("4000 Analyzer::Impl::analyze() analyze 'HTTP://Host/a b'.\n" + untranslated +
                                     "'HTTP://Host/a b'\n"
                                     "4000 Analyzer::Impl::checkWellFormed() redirect well formed url "
                                     "'http://host/a%20b'\n"));
}

TEST(DriverWellFormed, ItsRedirectIsOpened) {
  const ScriptedScheme scheme("http", SourceScript());
  analyze("http://host/a%20b");
  EXPECT_THAT(scheme.opened, testing::ElementsAre("http://host/a%20b"));
}

TEST(DriverLocation, OfARedirectingServerIsTheAnswer) {
  const ScriptedScheme scheme(
      "svc", serving(154, {"HTTP/1.1 302 Found\r\n", "Content-Type: text/html\r\n", "Location: HTTP://x/y\r\n"},
                     scriptOf("<html>")));
  const LogCapture log;
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "application/redirect http://x/y [text/html]");
  EXPECT_FALSE(outcome.result->strell);
  EXPECT_EQ(log.dump(),
            "4000 Analyzer::Impl::analyze() analyze 'svc:1'.\n" + untranslated +
                "'svc:1'\n"
                "5000 Analyzer::Impl::parseHeader() Header=HTTP/1.1 302 Found\r\n.\n"
                "5000 Analyzer::Impl::parseHeader() Header=Content-Type: text/html\r\n.\n"
                "5000 Analyzer::Impl::parseHeader() contentType=text/html\r\n.\n"
                "5000 Analyzer::Impl::parseHeader() Header=Location: HTTP://x/y\r\n.\n"
                "5000 Analyzer::Impl::parseHeader() location=HTTP://x/y\r\n.\n"
                "4000 Analyzer::Impl::checkHttpLocationRedirect() http location header redirect 'HTTP://x/y'\n");
}

TEST(DriverLocation, ThatIsMissingIsAnError) {
  const ScriptedScheme scheme("svc", serving(154, {"HTTP/1.1 302 Found\r\n"}, SourceScript()));
  const LogCapture log(4000);
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, -293);
  EXPECT_EQ(outcome.text(), "none");
  EXPECT_FALSE(outcome.result->strell);
  EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::analyze() analyze 'svc:1'.\n" + untranslated +
                            "'svc:1'\n"
                            "3000 Analyzer::Impl::analyze() open error=-293.\n");
}

TEST(DriverLocation, OfAHeaderThatCannotBeReadIsAnError) {
  const ScriptedScheme scheme("svc", serving(154, {"Location: http://x/y\r\n"}, SourceScript(), -71));
  const LogCapture log(3000);
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, -293);
  EXPECT_EQ(outcome.text(), "none");
  EXPECT_EQ(log.dump(),
            "3000 Analyzer::Impl::checkHttpLocationRedirect() parseHeader error=-71.\n"
            "3000 Analyzer::Impl::analyze() open error=-293.\n");
}

TEST(DriverLocation, OfARedirectWithoutASourceIsAnError) {
  const ScriptedScheme scheme("svc", [](const std::string&) { return ScriptedScheme::Answer{154, {}}; });
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, -293);
  EXPECT_EQ(outcome.text(), "none");
}

TEST(DriverLocation, OfAnOpenedSourceIsNotFollowed) {
  const ScriptedScheme scheme("svc", serving(0, {"Location: http://x/y\r\n"}, scriptOf("no audio")));
  EXPECT_EQ(analyze("svc:1").text(), "application/unknown");
}

TEST(DriverLocation, OfAServerThatFailedIsNotFollowed) {
  const ScriptedScheme scheme("svc", serving(155, {"Location: http://x/y\r\n"}, SourceScript()));
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, -294);
  EXPECT_EQ(outcome.text(), "none");
}

TEST(DriverPlaylist, IsARedirectBeforeAnyFormatIsAsked) {
  const ScriptedScheme scheme("svc", servingPlaylist("audio/x-mpegurl", scriptOf("#EXTM3U\r\nhttp://host/a\r\n")));
  const LogCapture log;
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/a [audio/x-mpegurl]");
  EXPECT_TRUE(outcome.result->strell);
  EXPECT_EQ(log.dump(), "4000 Analyzer::Impl::analyze() analyze 'svc:1'.\n" + untranslated +
                            "'svc:1'\n"
                            "5000 Analyzer::Impl::parseHeader() Header=HTTP/1.1 200 OK\r\n.\n"
                            "5000 Analyzer::Impl::parseHeader() Header=Content-Type: audio/x-mpegurl\r\n.\n"
                            "5000 Analyzer::Impl::parseHeader() contentType=audio/x-mpegurl\r\n.\n"
                            "4000 Analyzer::Impl::checkContentRedirect() analyze contentType.\n"
                            "4000 checkContentRedirect() m3u redirect (2) to http://host/a\n"
                            "4000 Analyzer::Impl::checkContentRedirect() asx m3u redirect  'http://host/a' "
                            "'application/redirect'\n");
}

TEST(DriverPlaylist, WhoseReadingFailsBehindItsTargetIsASuccess) {
  SourceScript script = scriptOf("http://host/a\nnever seen");
  script.failingOffset = 14;
  const ScriptedScheme scheme("svc", servingPlaylist("audio/mpegurl", script));
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text(), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(DriverPlaylist, ThatNamesNothingIsOfferedToTheFormats) {
  SourceScript script = scriptOf("nothing to hear");
  script.failingOffset = 14;
  script.failingOffsetCode = -104;
  const ScriptedScheme scheme("svc", servingPlaylist("audio/mpegurl", script));
  const LogCapture log;
  const Outcome outcome = analyze("svc:1");
  EXPECT_EQ(outcome.status, -287);  // of the last format, not of reading the playlist
  EXPECT_EQ(outcome.text(), "application/unknown");
  EXPECT_TRUE(outcome.result->strell);
  EXPECT_EQ(log.count(3000, "checkContentRedirect() can not parse content:\nnothing to hea\n"), 1);
  EXPECT_EQ(log.count(4000, "Analyzer::Impl::analyze() unknown type 'svc:1'.\n"), 1);
}

TEST(DriverPlaylist, NeedsAHeaderThatSaysSo) {
  const LogCapture log;
  {
    const ScriptedScheme scheme("svc", scriptOf("http://host/a"));
    EXPECT_EQ(analyze("svc:1").text(), "application/unknown");
  }
  const ScriptedScheme scheme("svc", serving(0, {"Content-Type: audio/mpegurl\r\n"}, scriptOf("http://host/a"), -71));
  EXPECT_EQ(analyze("svc:1").text(), "application/unknown");
  EXPECT_EQ(log.count(4000, "Analyzer::Impl::checkContentRedirect() no redirect interesting contentType.\n"), 2);
}

TEST(DriverPlaylist, IsAskedForInEveryMode) {
  const ScriptedScheme scheme("svc", servingPlaylist("audio/mpegurl", scriptOf("http://host/a")));
  OpenParams params;
  params.uri = "svc:1";
  boost::shared_ptr<AnalyzeResult> result;
  EXPECT_EQ(Analyzer(Analyzer::MODE_NONE).analyze(params, result), 0);
  EXPECT_EQ(answerText(*result), "application/redirect http://host/a [audio/mpegurl]");
}

TEST(DriverRedirect, LeadsThroughAPlaylistOfPlaylistsToTheItem) {
  const ScriptedScheme scheme("http", [](const std::string& uri) {
    if (uri == "http://host/start") {
      return serving(154, {"HTTP/1.1 301 Moved\r\n", "Location: http://host/list\r\n"}, SourceScript())(uri);
    }
    if (uri == "http://host/list") {
      return servingPlaylist("video/x-ms-asf", scriptOf("<asx><entryref href=\"http://host/more\"/>"))(uri);
    }
    return servingPlaylist("audio/x-mpegurl", scriptOf("#EXTM3U\nhttp://host/item\n"))(uri);
  });
  EXPECT_EQ(analyze("http://host/start").text(), "application/redirect http://host/list []");
  EXPECT_EQ(analyze("http://host/list").text(), "application/redirect http://host/more [video/x-ms-asf]");
  EXPECT_EQ(analyze("http://host/more").text(), "application/redirect http://host/item [audio/x-mpegurl]");
}

}  // namespace
}  // namespace quorin_test
