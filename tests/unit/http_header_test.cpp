#include "framework/http_header.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <random>

#include "support/log_capture.h"
#include "support/scripted_source.h"

namespace quorin_test {
namespace {

using zu::md::common::quorin::HeaderInfo;
using zu::md::common::quorin::parseHeader;
using zu::md::common::quorin::stripTrailingCRLF;

std::string stripped(std::string text) {
  stripTrailingCRLF(text);
  return text;
}

HeaderInfo parsed(std::deque<std::string> const& lines) {
  HeaderInfo info;
  parseHeader(lines, info);
  return info;
}

TEST(StripTrailingCRLF, RemovesOneLineFeedThenOneCarriageReturn) {
  EXPECT_EQ(stripped("text\r\n"), "text");
  EXPECT_EQ(stripped("text\n"), "text");
  EXPECT_EQ(stripped("text\r"), "text");
  EXPECT_EQ(stripped("text\n\r"), "text\n");
  EXPECT_EQ(stripped("text\r\n\r\n"), "text\r\n");
  EXPECT_EQ(stripped("text\n\n"), "text\n");
  EXPECT_EQ(stripped("text\r\r"), "text\r");
  EXPECT_EQ(stripped("text"), "text");
}

TEST(StripTrailingCRLF, NeverLooksBeforeTheFirstCharacter) {
  EXPECT_EQ(stripped(""), "");
  EXPECT_EQ(stripped("\n"), "");
  EXPECT_EQ(stripped("\r"), "");
  EXPECT_EQ(stripped("\r\n"), "");
}

TEST(HttpHeader, FieldNamesIgnoreCaseAndBlanksAroundTheColon) {
  EXPECT_EQ(parsed({"CONTENT-TYPE:audio/mpeg\r\n"}).contentType, "audio/mpeg");
  EXPECT_EQ(parsed({"content-type :  audio/mpeg"}).contentType, "audio/mpeg");
  EXPECT_EQ(parsed({"Content-Type\t:\t: audio/mpeg\n"}).contentType, "audio/mpeg");
  EXPECT_EQ(parsed({"LOCATION: http://Host/A\r\n"}).location, "http://Host/A");
}

TEST(HttpHeader, KeepsCaseAndParametersOfTheValue) {
  EXPECT_EQ(parsed({"Content-Type: audio/L16;rate=44100;channels=2\r\n"}).contentType,
            "audio/L16;rate=44100;channels=2");
  EXPECT_EQ(parsed({"Content-Type: Audio/X-MPEGURL; charset=UTF-8 \r\n"}).contentType,
            "Audio/X-MPEGURL; charset=UTF-8 ");
}

TEST(HttpHeader, TheLastOfSeveralLinesWins) {
  EXPECT_EQ(parsed({"Content-Type: audio/mpeg\r\n", "Content-Type: audio/x-wav\r\n"}).contentType, "audio/x-wav");
  EXPECT_EQ(parsed({"Location: http://a/\r\n", "Location: http://b/\r\n"}).location, "http://b/");
}

TEST(HttpHeader, ALineWithNothingBehindTheNameEmptiesTheField) {
  EXPECT_EQ(parsed({"Location: http://a/\r\n", "Location:"}).location, "");
  EXPECT_EQ(parsed({"Location:\r\n"}).location, "");
  EXPECT_EQ(parsed({"location"}).location, "");
}

TEST(HttpHeader, FieldNamesMatchInsideNamesAndValues) {
  EXPECT_EQ(parsed({"Content-Location: x\r\n"}).location, "x");
  EXPECT_EQ(parsed({"X-Content-Type-Options: nosniff\r\n"}).contentType, "-Options: nosniff");
  EXPECT_EQ(parsed({"Vary: content-type, location\r\n"}).contentType, ", location");
}

TEST(HttpHeader, OneLineMayGiveBothFields) {
  const HeaderInfo info = parsed({"Content-Type: text/html; Location: http://a/\r\n"});
  EXPECT_EQ(info.contentType, "text/html; Location: http://a/");
  EXPECT_EQ(info.location, "http://a/");
}

TEST(HttpHeader, TheFirstOccurrenceInALineCounts) {
  EXPECT_EQ(parsed({"Location: http://a/?location=b\r\n"}).location, "http://a/?location=b");
}

TEST(HttpHeader, TheValueIsTheRestOfTheEntryWhateverItHolds) {
  const std::string nul(1, '\0');
  EXPECT_EQ(parsed({"Location: http://a/\r\nfolded\r\n"}).location, "http://a/\r\nfolded");
  EXPECT_EQ(parsed({"Location: a" + nul + "b\r\n"}).location, "a" + nul + "b");
  EXPECT_EQ(parsed({nul + "Location: a\r\n"}).location, "a");
}

TEST(HttpHeader, LinesWithoutTheFieldsLeaveTheRecordAlone) {
  HeaderInfo info{"audio/mpeg", "http://a/"};
  parseHeader(std::deque<std::string>{"HTTP/1.1 200 OK\r\n", "", "content-typ: x", "\r\n"}, info);
  EXPECT_EQ(info.contentType, "audio/mpeg");
  EXPECT_EQ(info.location, "http://a/");
}

TEST(HttpHeader, LogsEachLineAndTheValuesWithTheirLineEnds) {
  const LogCapture log;
  parsed({"HTTP/1.1 302 Found", "Content-Type: text/html\r\n", "Location: http://a/\n"});
  EXPECT_EQ(log.dump(),
            "5000 Analyzer::Impl::parseHeader() Header=HTTP/1.1 302 Found.\n"
            "5000 Analyzer::Impl::parseHeader() Header=Content-Type: text/html\r\n.\n"
            "5000 Analyzer::Impl::parseHeader() contentType=text/html\r\n.\n"
            "5000 Analyzer::Impl::parseHeader() Header=Location: http://a/\n.\n"
            "5000 Analyzer::Impl::parseHeader() location=http://a/\n.\n");
}

TEST(HttpHeader, AnySequenceOfBytesIsTaken) {
  static const std::string pieces[] = {"content-type", "LOCATION",           ":",    " ",          "\t", "\r",
                                       "\n",           std::string(1, '\0'), "\xff", "content-typ"};
  std::mt19937 random(20240501);
  for (int round = 0; round < 2000; ++round) {
    std::deque<std::string> lines(random() % 4);
    for (std::string& line : lines) {
      for (auto n = random() % 8; n != 0; --n) {
        line += random() % 3 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % std::size(pieces)];
      }
    }
    HeaderInfo info;
    parseHeader(lines, info);
    for (const std::string& value : {info.contentType, info.location}) {
      EXPECT_TRUE(value.empty() || value.find_first_of(" \t:") != 0) << value;
    }
  }
}

TEST(HttpHeader, OfAnHttpSourceIsRead) {
  const boost::shared_ptr<MdchUrlBase> url = boost::make_shared<ScriptedHttpSource>(
      SourceScript(), std::deque<std::string>{"HTTP/1.1 200 OK\r\n", "Content-Type: audio/mpeg\r\n"});
  HeaderInfo info;
  EXPECT_EQ(parseHeader(url, info), 0);
  EXPECT_EQ(info.contentType, "audio/mpeg");
  EXPECT_EQ(info.location, "");
}

TEST(HttpHeader, OfAnEmptyPointerOrASourceWithoutHeaderIsNothing) {
  const LogCapture log;
  HeaderInfo info{"kept", "kept too"};
  EXPECT_EQ(parseHeader(boost::shared_ptr<MdchUrlBase>(), info), 0);
  EXPECT_EQ(parseHeader(boost::shared_ptr<MdchUrlBase>(boost::make_shared<ScriptedSource>(SourceScript())), info), 0);
  EXPECT_EQ(info.contentType, "kept");
  EXPECT_EQ(info.location, "kept too");
  EXPECT_EQ(log.dump(), "");
}

TEST(HttpHeader, TheFailureToDeliverItIsPassedOn) {
  const boost::shared_ptr<MdchUrlBase> url = boost::make_shared<ScriptedHttpSource>(
      SourceScript(), std::deque<std::string>{"Content-Type: audio/mpeg\r\n"}, -71);
  HeaderInfo info{"kept", "kept too"};
  EXPECT_EQ(parseHeader(url, info), -71);
  EXPECT_EQ(info.contentType, "kept");
  EXPECT_EQ(info.location, "kept too");
}

TEST(HttpHeader, ValueOfAFieldStandsBehindItsNameAndSeparators) {
  using zu::md::common::quorin::headerValue;
  EXPECT_EQ(headerValue("icy-br: \t: 96\r\n", "icy-br"), "96\r\n");
  EXPECT_EQ(headerValue("X-ICY-BR96", "icy-br"), "96");
  EXPECT_EQ(headerValue("icy-br:", "icy-br"), "");
  EXPECT_EQ(headerValue("icy-name: 96", "icy-br"), std::nullopt);
}

}  // namespace
}  // namespace quorin_test
