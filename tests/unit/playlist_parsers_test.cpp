#include "redirect/playlist_parsers.h"

#include <gmock/gmock.h>

#include <functional>
#include <random>

#include "support/log_capture.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::parseASX;
using zu::md::common::quorin::parseM3U;
using zu::md::common::quorin::parseSIMPLE;
using zu::md::common::quorin::parseXML;

/// What the target was before; a parser that finds none must leave it.
const char* const untouched = "(untouched)";

/// What a parser made of a text: the target, or "no" when it found none and kept its hands off.
template <typename Parser>
std::string outcome(Parser parser, const std::string& content) {
  std::string url = untouched;
  if (parser(content, url)) {
    return url;
  }
  return url == untouched ? "no" : "touched: " + url;
}

std::string m3u(const std::string& content) { return outcome(parseM3U, content); }
std::string xml(const std::string& content) { return outcome(parseXML, content); }
std::string simple(const std::string& content) { return outcome(parseSIMPLE, content); }

/// The same with "stream " or "playlist " before the target, as the flag says.
std::string asx(const std::string& content) {
  std::string url = untouched;
  for (const bool before : {false, true}) {
    bool directRef = before;
    url = untouched;
    if (parseASX(content, url, directRef)) {
      return (directRef ? "stream " : "playlist ") + url;
    }
    if (directRef != before) {
      return "touched the flag";
    }
  }
  return url == untouched ? "no" : "touched: " + url;
}

std::string withNul(const std::string& before, const std::string& behind) {
  return before + std::string(1, '\0') + behind;
}

TEST(ParseM3U, SkipsDirectivesAndTakesTheFirstLine) {
  EXPECT_EQ(m3u("#EXTM3U\r\n#EXTINF:123,Title\r\nhttp://host/a.mp3\r\nhttp://host/b.mp3\r\n"), "http://host/a.mp3");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTINF:123,Title\nhttp://host/a.mp3\nhttp://host/b.mp3\n"), "http://host/a.mp3");
  EXPECT_EQ(m3u("#EXTM3U\rhttp://host/a.mp3\rhttp://host/b.mp3"), "http://host/a.mp3");
  EXPECT_EQ(m3u("http://host/a.mp3"), "http://host/a.mp3");
}

TEST(ParseM3U, AnEmptyLineEndsTheSkipping) {
  const LogCapture log;
  EXPECT_EQ(m3u("#EXTM3U\n\nhttp://host/a.mp3\n"), "no");
  EXPECT_EQ(log.dump(), "4000 parseM3U() Unknown protocol for redirect \"\nhttp://host/a.mp3\n\"\n");
}

TEST(ParseM3U, AnyLineThatIsNoDirectiveEndsTheSkipping) {
  const LogCapture log;
  EXPECT_EQ(m3u("#EXTM3U\r\n# x\r\nhttp://host/a.mp3"), "no");
  EXPECT_EQ(m3u("#extm3u\r\nhttp://host/a.mp3"), "no");
  EXPECT_EQ(m3u("song.mp3"), "no");
  EXPECT_EQ(m3u(""), "no");
  EXPECT_EQ(log.dump(),
            "4000 parseM3U() Unknown protocol for redirect \"# x\r\nhttp://host/a.mp3\"\n"
            "4000 parseM3U() Unknown protocol for redirect \"#extm3u\r\nhttp://host/a.mp3\"\n"
            "4000 parseM3U() Unknown protocol for redirect \"song.mp3\"\n"
            "4000 parseM3U() Unknown protocol for redirect \"\"\n");
}

TEST(ParseM3U, ADirectiveWithoutLineEndIsSilentlyNoPlaylist) {
  const LogCapture log;
  EXPECT_EQ(m3u("#EXTM3U"), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTINF"), "no");
  EXPECT_EQ(log.dump(), "");
}

TEST(ParseM3U, NothingBehindTheDirectivesIsAnUnknownProtocol) {
  const LogCapture log;
  EXPECT_EQ(m3u("#EXTM3U\r\n"), "no");
  EXPECT_EQ(log.dump(), "4000 parseM3U() Unknown protocol for redirect \"\"\n");
}

TEST(ParseM3U, TakesEveryKnownSchemeInLowerCaseOnly) {
  for (const char* prefix : {"file:/", "vdr2://", "http://", "rtsp://", "rtp://", "mms://", "https://", "mmsh://"}) {
    EXPECT_EQ(m3u(std::string(prefix) + "x\n"), std::string(prefix) + "x");
  }
  for (const char* line : {"HTTP://host/a", "Http://host/a", "FILE:/a", "ftp://host/a", "http:/host", " http://host/a",
                           "/music/a.mp3", "\xef\xbb\xbfhttp://host/a"}) {
    EXPECT_EQ(m3u(line), "no") << line;
  }
}

TEST(ParseM3U, ACarriageReturnFurtherDownIsTheLineEnd) {
  EXPECT_EQ(m3u("http://host/a\nhttp://host/b\r\nhttp://host/c"), "http://host/a\nhttp://host/b");
  EXPECT_EQ(m3u("#EXTM3U\nhttp://host/a\r\nhttp://host/b\n"), "http://host/b");
  EXPECT_EQ(m3u("#EXTM3U\rhttp://host/a\nx"), "http://host/a");
  EXPECT_EQ(m3u("#EXTM3U\n\rhttp://host/a"), "http://host/a");
}

TEST(ParseM3U, OnlyALineFeedDirectlyBehindTheCarriageReturnIsSkipped) {
  EXPECT_EQ(m3u("#EXTM3U\r\n\nhttp://host/a"), "no");
  EXPECT_EQ(m3u("#EXTM3U\r\rhttp://host/a"), "no");
}

TEST(ParseM3U, SeesNothingBehindANul) {
  EXPECT_EQ(m3u(withNul("http://host/a", "b\r\n")), "http://host/a");
  EXPECT_EQ(m3u(withNul("http://host/a\n", "\r")), "http://host/a");
  EXPECT_EQ(m3u(withNul("#EXTM3U", "\nhttp://host/a")), "no");
  EXPECT_EQ(m3u(withNul("", "http://host/a")), "no");
}

TEST(ParseASX, AReferenceOfAnEntryIsAStream) {
  EXPECT_EQ(asx("<ASX version=\"3.0\"><Entry><Ref href=\"mms://h/s\"/></Entry></ASX>"), "stream mms://h/s");
  EXPECT_EQ(asx("junk <asx>\r\n<entry>\r\n<title>\"T\"</title><REF HREF = \"http://h/s\" />\r\n"), "stream http://h/s");
}

TEST(ParseASX, AnEntryReferenceIsAPlaylist) {
  EXPECT_EQ(asx("<asx><entryref href=\"http://h/list.asx\"/></asx>"), "playlist http://h/list.asx");
  EXPECT_EQ(asx("<asx><entry><ref href=\"http://h/s\"/></entry><EntryRef href=\"http://h/list.asx\"/></asx>"),
            "playlist http://h/list.asx");
}

TEST(ParseASX, TheFirstQuotedTextCountsWhereverItStands) {
  EXPECT_EQ(asx("<asx><entry><ref x=\"1\" href=\"http://h/s\"/>"), "stream 1");
  EXPECT_EQ(asx("<asx><entry><ref href='http://h/s'/></entry><param name=\"n\"/>"), "stream n");
  EXPECT_EQ(asx("<asx><entry><ref href=\"\"/>"), "stream ");
  EXPECT_EQ(asx("<asx><entry><ref href=\"a\r\nb\"/>"), "stream a\r\nb");
}

TEST(ParseASX, TagsBeforeTheOneTheyBelongToDoNotCount) {
  EXPECT_EQ(asx("<entryref href=\"x\"/><asx></asx>"), "no");
  EXPECT_EQ(asx("<ref href=\"x\"/><asx><entry></entry>"), "no");
  EXPECT_EQ(asx("<asx><ref href=\"x\"/><entry></entry>"), "no");
  EXPECT_EQ(asx("<asx><ref href=\"x\"/>"), "no");
  EXPECT_EQ(asx("<entry><ref href=\"x\"/>"), "no");
}

TEST(ParseASX, AReferenceSectionIsAStream) {
  EXPECT_EQ(asx("[Reference]\r\nRef1=http://h/s?MSWMExt=.asf\r\nRef2=x\r\n"), "stream http://h/s?MSWMExt=.asf");
  EXPECT_EQ(asx("[REFERENCE]\nRef1=http://h/s\nRef2=x\n"), "stream http://h/s");
  EXPECT_EQ(asx("[Reference]Ref1=http://h/s"), "stream http://h/s");
  EXPECT_EQ(asx("[Reference]\nRef1= http://h/s \n"), "stream  http://h/s ");
  EXPECT_EQ(asx("[Reference]\nRef1="), "stream ");
}

TEST(ParseASX, AReferenceSectionEndsItsLineAtACarriageReturnFurtherDown) {
  EXPECT_EQ(asx("[Reference]\nRef1=http://h/s\nRef2=x\r\n"), "stream http://h/s\nRef2=x");
  EXPECT_EQ(asx("[Reference]\r\nRef1=http://h/s\nRef2=x"), "stream http://h/s");
}

TEST(ParseASX, AReferenceSectionStandsInForADocumentWithoutQuotes) {
  EXPECT_EQ(asx("<asx></asx>[Reference]\nRef1=http://h/s"), "stream http://h/s");
  EXPECT_EQ(asx("<asx><entry><ref href=\"x>[Reference]\nRef1=http://h/s"), "stream http://h/s");
  EXPECT_EQ(asx("<asx><entryref href=x>[Reference]\nRef1=http://h/s"), "playlist http://h/s");
  EXPECT_EQ(asx("[Reference]\nRef1=http://h/s\n<asx><entryref href=x>"), "playlist http://h/s");
}

TEST(ParseASX, AnEntryReferenceWithoutQuotesHidesTheEntries) {
  EXPECT_EQ(asx("<asx><entry><ref href=\"http://h/s\"/></entry><entryref href=x>"), "no");
}

TEST(ParseASX, WithoutReferenceThereIsNoTarget) {
  EXPECT_EQ(asx(""), "no");
  EXPECT_EQ(asx("<asx"), "no");
  EXPECT_EQ(asx("<asx><entry><ref href=\"x"), "no");
  EXPECT_EQ(asx("Ref1=http://h/s [Reference]"), "no");
  EXPECT_EQ(asx("http://h/s"), "no");
}

TEST(ParseASX, SeesNothingBehindANul) {
  EXPECT_EQ(asx(withNul("<asx>", "<entry><ref href=\"x\"/>")), "no");
  EXPECT_EQ(asx(withNul("<asx><entry><ref href=\"x", "\"/>")), "no");
  EXPECT_EQ(asx(withNul("[Reference]\nRef1=http://h/s", "t\r")), "stream http://h/s");
}

TEST(ParseASX, IsSilent) {
  const LogCapture log;
  asx("<asx");
  asx("<asx><entry><ref href=\"x\"/>");
  EXPECT_EQ(log.dump(), "");
}

TEST(ParseXML, TakesTheTextOfTheFirstUrlElement) {
  EXPECT_EQ(xml("<contents><ContentURL>http://h/s</ContentURL></contents>"), "http://h/s");
  EXPECT_EQ(xml("<CONTENTS v=\"1\"><x/><CONTENTURL a=\"b\"> http://h/s\r\n</ContentURL><ContentURL>y</ContentURL>"),
            " http://h/s\r\n");
  EXPECT_EQ(xml("<Contents><ContentURL><"), "");
}

TEST(ParseXML, TheDocumentHasToBeginWithItsTag) {
  EXPECT_EQ(xml(" <Contents><ContentURL>http://h/s</ContentURL></Contents>"), "no");
  EXPECT_EQ(xml("<?xml version=\"1.0\"?><Contents><ContentURL>http://h/s</ContentURL></Contents>"), "no");
  EXPECT_EQ(xml("<Content"), "no");
  EXPECT_EQ(xml(""), "no");
}

TEST(ParseXML, AnUnfinishedElementHasNoText) {
  EXPECT_EQ(xml("<Contents>"), "no");
  EXPECT_EQ(xml("<Contents><ContentURL"), "no");
  EXPECT_EQ(xml("<Contents><ContentURL>http://h/s"), "no");
  EXPECT_EQ(xml(withNul("<Contents><ContentURL>http://h/s", "</ContentURL>")), "no");
}

TEST(ParseXML, IsSilent) {
  const LogCapture log;
  xml("x");
  xml("<contents><ContentURL>http://h/s</ContentURL></contents>");
  EXPECT_EQ(log.dump(), "");
}

TEST(ParseSIMPLE, AUrlWithoutLineEndIsTheWholeText) { EXPECT_EQ(simple("rtsp://h/s"), "rtsp://h/s"); }

TEST(ParseSIMPLE, TheFirstLineEndOfEitherKindEndsTheUrl) {
  EXPECT_EQ(simple("http://h/s\r\nx"), "http://h/s");
  EXPECT_EQ(simple("http://h/s\nx\r"), "http://h/s");
  EXPECT_EQ(simple("http://h/s\rx\n"), "http://h/s");
  EXPECT_EQ(simple("http://\n"), "http://");
}

TEST(ParseSIMPLE, TakesEveryKnownSchemeInAnyCase) {
  for (const char* prefix : {"http://", "HTTPS://", "Mms://", "mmsH://", "FILE:/", "VDR2://", "rtsp://", "RTP://"}) {
    EXPECT_EQ(simple(std::string(prefix) + "x\n"), std::string(prefix) + "x");
  }
  for (const char* line : {"", "ftp://h/s", " http://h/s", "\nhttp://h/s", "http:/h", "www.h"}) {
    EXPECT_EQ(simple(line), "no") << line;
  }
}

TEST(ParseSIMPLE, TakesInUpperCaseWhatAnM3UListMayNot) {
  EXPECT_EQ(m3u("HTTP://host/a"), "no");
  EXPECT_EQ(simple("HTTP://host/a"), "HTTP://host/a");
}

TEST(ParseSIMPLE, SeesNothingBehindANul) {
  EXPECT_EQ(simple(withNul("http://h/s", "t\n")), "http://h/s");
  EXPECT_EQ(simple(withNul("", "http://h/s")), "no");
}

TEST(ParseSIMPLE, IsSilent) {
  const LogCapture log;
  simple("x");
  simple("http://h/s");
  EXPECT_EQ(log.dump(), "");
}

/// A text out of everything that means something to a parser, and noise.
std::string randomPlaylist(std::mt19937& random) {
  static const std::string pieces[] = {"#EXTM3U",     "#EXT",
                                       "\r",          "\n",
                                       "\r\n",        "http://",
                                       "mms://",      "<asx",
                                       "<entryref",   "<entry",
                                       "<ref",        "[Reference]",
                                       "=",           "\"",
                                       "<",           ">",
                                       "<Contents",   "<ContentURL",
                                       "file:/",      "HTTP:",
                                       "<ASX><ENTRY", "<contents><contenturl>"};
  std::string content;
  for (auto n = random() % 20; n != 0; --n) {
    content += random() % 4 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % std::size(pieces)];
  }
  return content;
}

TEST(PlaylistParsers, AnyTextGivesAPartOfItOrLeavesTheUrlAlone) {
  const auto parseAsxUrl = [](const std::string& content, std::string& url) {
    bool directRef = false;
    return parseASX(content, url, directRef);
  };
  using Parser = std::function<bool(const std::string&, std::string&)>;
  const Parser parsers[] = {parseM3U, parseAsxUrl, parseXML, parseSIMPLE};
  std::mt19937 random(4711);
  int found[std::size(parsers)] = {};
  for (int round = 0; round < 20000; ++round) {
    const std::string content = randomPlaylist(random);
    const std::string seen = content.c_str();
    for (size_t i = 0; i < std::size(parsers); ++i) {
      std::string url = untouched;
      if (parsers[i](content, url)) {
        EXPECT_NE(seen.find(url), std::string::npos) << url << " of " << seen;
        ++found[i];
      } else {
        EXPECT_EQ(url, untouched) << seen;
      }
    }
  }
  EXPECT_THAT(found, testing::Each(testing::Gt(10)));
}

/// `content` with a few bytes changed, put in, taken out or repeated.
std::string mutated(std::string content, std::mt19937& random) {
  for (auto n = 1 + random() % 4; n != 0; --n) {
    const size_t place = random() % (content.size() + 1);
    const size_t count = random() % 9;
    switch (random() % 4) {
      case 0:
        content.replace(place, 1, 1, static_cast<char>(random()));
        break;
      case 1:
        content.insert(place, 1, "\r\n\"<>= \0"[random() % 8]);
        break;
      case 2:
        content.erase(place, count);
        break;
      default:
        content.insert(random() % (content.size() + 1), content.substr(place, count));
    }
  }
  return content;
}

TEST(PlaylistParsers, ADamagedPlaylistGivesAPartOfItOrNothing) {
  static const std::string playlists[] = {"#EXTM3U\r\n#EXTINF:123,Title\r\nhttp://host/a.mp3\r\nhttp://host/b.mp3\r\n",
                                          "#EXTM3U\n#EXTINF:123,Title\nhttp://host/a.mp3\n",
                                          "<ASX version=\"3.0\"><Entry><Ref href=\"mms://h/s\"/></Entry></ASX>",
                                          "<asx><entryref href=\"http://h/list.asx\"/></asx>",
                                          "[Reference]\r\nRef1=http://h/s?MSWMExt=.asf\r\nRef2=x\r\n",
                                          "<contents><ContentURL>http://h/s</ContentURL></contents>",
                                          "rtsp://h/s"};
  std::mt19937 random(815);
  for (size_t round = 0; round < 20000; ++round) {
    const std::string content = mutated(playlists[round % std::size(playlists)], random);
    const std::string seen = content.c_str();
    for (const std::string& target : {m3u(content), xml(content), simple(content)}) {
      EXPECT_TRUE(target == "no" || seen.find(target) != std::string::npos) << target << " of " << seen;
    }
    const std::string target = asx(content);
    EXPECT_TRUE(target == "no" || seen.find(target.substr(target.find(' ') + 1)) != std::string::npos) << target;
  }
}

TEST(PlaylistParsers, ALongListOfDirectivesEndsSoon) {
  std::string content;
  while (content.size() < 100000) {
    content += "#EXT\n";
  }
  EXPECT_EQ(m3u(content), "no");
}

/// Playlists as programs write them: what is followed, and what is not.
TEST(PlaylistParsers, PlaylistsOfOtherPrograms) {
  const std::string bom = "\xef\xbb\xbf";
  const std::string extended =
      "#EXTM3U\r\n#EXTINF:-1 tvg-id=\"a\",One\r\nhttp://h/1.mp3\r\n#EXTINF:-1,Two\r\nhttp://h/2\r\n";
  EXPECT_EQ(m3u(extended), "http://h/1.mp3");
  EXPECT_EQ(m3u(bom + extended), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTENC: UTF-8\n#PLAYLIST:Mine\nhttp://h/1\n"), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTVLCOPT:network-caching=1000\nhttp://h/1\n"), "http://h/1");
  EXPECT_EQ(m3u("# comment\nhttp://h/1\n"), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTINF:1,Song\n../music/song.mp3\n"), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXTINF:1,Song\nC:\\music\\song.mp3\n"), "no");
  EXPECT_EQ(m3u("#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-STREAM-INF:BANDWIDTH=1280000\nhttp://h/low.m3u8\n"),
            "http://h/low.m3u8");
  EXPECT_EQ(asx("<ASX VERSION=\"3.0\">\r\n<TITLE>T</TITLE>\r\n<ENTRY>\r\n<TITLE>A</TITLE>\r\n"
                "<REF HREF=\"http://h/a.wma\" />\r\n</ENTRY>\r\n</ASX>\r\n"),
            "stream http://h/a.wma");
  EXPECT_EQ(asx("<asx version = '3.0'>\n<entry><ref href = 'mms://h/a' /></entry>\n</asx>\n"), "no");
  EXPECT_EQ(asx("<asx version=\"3.0\">\n<abstract>x</abstract>\n<entryref href=\"http://h/more.asx\" />\n</asx>"),
            "playlist http://h/more.asx");
  EXPECT_EQ(asx("[Reference]\r\nRef1=http://h:80/live?MSWMExt=.asf\r\nRef2=http://1.2.3.4:80/live?MSWMExt=.asf\r\n"),
            "stream http://h:80/live?MSWMExt=.asf");
  EXPECT_EQ(asx("[playlist]\nFile1=http://h/1\nNumberOfEntries=1\nVersion=2\n"), "no");
}

}  // namespace
}  // namespace quorin_test
