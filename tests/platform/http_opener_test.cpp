// What opening an HTTP(S) URL answers, each code by a situation that really gives it.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <vector>

#include "http/http_response.h"
#include "http_client.h"
#include "support/bytes.h"
#include "support/loopback.h"
#include "support/nginx.h"
#include "support/raw_server.h"
#include "support/time_limit.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;

std::string onPort(uint16_t port) { return "http://127.0.0.1:" + std::to_string(port) + "/item"; }

/// Opens what can only end by a time limit, and holds it to it; other limits would be far longer.
int codeAtLimit(const std::string& url, const std::string& limits, std::chrono::milliseconds limit) {
  HttpTexts texts;
  texts.limits = limits;
  const auto start = std::chrono::steady_clock::now();
  const int code = openUrl(url, texts).code;
  expectAtLimit(std::chrono::steady_clock::now() - start, limit);
  return code;
}

int codeOf(const std::string& answer) {
  const RawServer server(answer);
  const HttpOpened opened = openUrl(server.url());
  EXPECT_EQ(opened.url != nullptr, opened.code == OPEN_OK || opened.code == OPEN_HTTP_REDIRECT);
  return opened.code;
}

TEST(HttpOpen, EachStatusHasItsCode) {
  const Nginx nginx;
  const std::vector<std::pair<int, int>> codes = {
      {200, OPEN_OK},
      {203, OPEN_OK},
      {204, OPEN_OK},
      {300, OPEN_HTTP_CLIENT_ERROR},
      {301, OPEN_HTTP_REDIRECT},
      {302, OPEN_HTTP_REDIRECT},
      {303, OPEN_HTTP_REDIRECT},
      {304, OPEN_HTTP_CLIENT_ERROR},
      {305, OPEN_HTTP_CLIENT_ERROR},
      {307, OPEN_HTTP_REDIRECT},
      {308, OPEN_HTTP_REDIRECT},
      {400, OPEN_HTTP_CLIENT_ERROR},
      {401, OPEN_PERMISSION_DENIED},
      {402, OPEN_HTTP_CLIENT_ERROR},
      {403, OPEN_PERMISSION_DENIED},
      {404, OPEN_NOT_FOUND},
      {406, OPEN_HTTP_CLIENT_ERROR},
      {410, OPEN_NOT_FOUND},
      {416, OPEN_HTTP_CLIENT_ERROR},
      {418, OPEN_HTTP_CLIENT_ERROR},
      {429, OPEN_BUSY},
      {500, OPEN_HTTP_SERVER_ERROR},
      {501, OPEN_HTTP_SERVER_ERROR},
      {502, OPEN_HTTP_SERVER_ERROR},
      {503, OPEN_BUSY},
      {504, OPEN_HTTP_SERVER_ERROR},
      {599, OPEN_HTTP_SERVER_ERROR},
  };
  for (const auto& [status, code] : codes) {
    const HttpOpened opened = openUrl(nginx.url("/status/" + std::to_string(status)));
    EXPECT_EQ(opened.code, code) << status;
    EXPECT_EQ(opened.url != nullptr, code == OPEN_OK || code == OPEN_HTTP_REDIRECT) << status;
  }
}

TEST(HttpOpen, AFailureLeavesTheUrlAlone) {
  const Nginx nginx;
  nginx.serve("item", testBytes(10));
  const auto before = openedUrl(nginx.url("/item"));
  boost::shared_ptr<MdchUrlBase> url = before;
  const MdchOpenParams params = {};
  EXPECT_EQ(mdch_OpenUrl(nginx.url("/none").c_str(), 0, params, url), OPEN_NOT_FOUND);
  EXPECT_EQ(url, before);
}

TEST(HttpOpen, AnItemThatIsThereOpens) {
  const Nginx nginx;
  nginx.serve("item", testBytes(10));
  EXPECT_EQ(openUrl(nginx.url("/item")).code, OPEN_OK);
}

TEST(HttpOpen, TheSchemeIsTakenInAnyCase) {
  const Nginx nginx;
  nginx.serve("item", testBytes(10));
  EXPECT_EQ(openUrl("HTTP" + nginx.url("/item").substr(4)).code, OPEN_OK);
}

TEST(HttpOpen, AMissingItemIsNotFound) {
  const Nginx nginx;
  EXPECT_EQ(openUrl(nginx.url("/none")).code, OPEN_NOT_FOUND);
}

TEST(HttpOpen, AnItemThatTheServerMayNotReadIsDenied) {
  const Nginx nginx;
  nginx.serve("item", testBytes(10));
  EXPECT_EQ(openUrl(nginx.url("/forbidden/item")).code, OPEN_PERMISSION_DENIED);
}

TEST(HttpOpen, AnItemBehindAPasswordIsDeniedWithoutIt) {
  const Nginx nginx;
  nginx.serve("item", testBytes(10));
  EXPECT_EQ(openUrl(nginx.url("/secret/item")).code, OPEN_PERMISSION_DENIED);
}

TEST(HttpOpen, ARedirectIsHandedOutAndNotFollowed) {
  Nginx nginx;
  nginx.serve("item", testBytes(10));
  const HttpOpened opened = openUrl(nginx.url("/status/302"));
  ASSERT_EQ(opened.code, OPEN_HTTP_REDIRECT);
  const std::deque<std::string> lines = headerLines(*opened.url);
  EXPECT_EQ(lines.front().substr(0, 13), "HTTP/1.1 302 ");
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Location: /item\r\n"), lines.end());
  EXPECT_FALSE(isSeekable(*opened.url));
  const HttpRead read = readOn(*opened.url);
  EXPECT_EQ(read.status, 0);
  EXPECT_EQ(textOf(read.bytes), "look there");
  EXPECT_EQ(nginx.stop().size(), 1U);
}

TEST(HttpOpen, ARedirectWithoutATargetIsStillOne) {
  EXPECT_EQ(codeOf("HTTP/1.1 301 Moved\r\nContent-Length: 0\r\n\r\n"), OPEN_HTTP_REDIRECT);
}

TEST(HttpOpen, AnUnknownHostDoesNotResolve) {
  EXPECT_EQ(openUrl("http://no-such-host.invalid/item").code, OPEN_NO_SUCH_HOST);
}

TEST(HttpOpen, APortWithoutAServerRefuses) { EXPECT_EQ(openUrl(onPort(freePort())).code, OPEN_CONNECTION_REFUSED); }

TEST(HttpOpen, AnAddressWithoutARouteIsUnreachable) {
  // A multicast address takes no TCP connection, whatever network the test runs in.
  EXPECT_EQ(openUrl("http://224.0.0.1:9/item").code, OPEN_CONNECTION_REFUSED);
}

TEST(HttpOpen, AConnectionClosedWithoutAResponseIsNoHttp) {
  const Nginx nginx;
  EXPECT_EQ(openUrl(nginx.url("/drop")).code, OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, AConnectionResetWithoutAResponseIsNoHttp) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.reset();
    return false;
  });
  EXPECT_EQ(openUrl(server.url()).code, OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, WhatIsNotHttpIsAClientError) {
  EXPECT_EQ(codeOf("SSH-2.0-OpenSSH_9.2\r\n"), OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(codeOf("<html>no header at all</html>\r\n\r\n"), OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(codeOf(std::string("ID3\x04\0\0\0\0\0\0", 10)), OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(codeOf("ICY 404 Not Found\r\n\r\n"), OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(codeOf("\r\n\r\n"), OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, AHeaderThatEndsInTheMiddleIsNoHttp) {
  EXPECT_EQ(codeOf("HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\n"), OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, AHeaderLineUpToTheLimitIsTakenAndNoLonger) {
  const auto answer = [](size_t length) {
    const std::string name = "X-Long: ";
    return "HTTP/1.1 200 OK\r\n" + name + std::string(length - name.size() - 2, 'x') + "\r\nContent-Length: 0\r\n\r\n";
  };
  EXPECT_EQ(codeOf(answer(longestHeaderLine)), OPEN_OK);
  EXPECT_EQ(codeOf(answer(longestHeaderLine + 1)), OPEN_HTTP_CLIENT_ERROR);
  EXPECT_EQ(codeOf(answer(200 * 1024)), OPEN_HTTP_CLIENT_ERROR) << "where libcurl itself gives up";
}

TEST(HttpOpen, AHeaderWithoutEndEnds) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send("HTTP/1.1 200 OK\r\n");
    while (open) {
      open = connection.send("X-More: and more and more\r\n");
    }
    return false;
  });
  EXPECT_EQ(openUrl(server.url()).code, OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, ALineWithoutEndEnds) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send("HTTP/1.1 200 OK\r\nX-Long: ");
    while (open) {
      open = connection.send(std::string(4096, 'x'));
    }
    return false;
  });
  EXPECT_EQ(openUrl(server.url()).code, OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, InterimResponsesWithoutEndEnd) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = true;
    while (open) {
      open = connection.send("HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n");
    }
    return false;
  });
  EXPECT_EQ(openUrl(server.url()).code, OPEN_HTTP_CLIENT_ERROR);
}

TEST(HttpOpen, AnUnusableUrlIsRefused) {
  for (const char* url : {"http:",
                          "http:/",
                          "http://",
                          "http:///item",
                          "http:item",
                          "http:/127.0.0.1/item",
                          "http://?x",
                          "http://#x",
                          "http://127.0.0.1:99999/",
                          "http://127.0.0.1:-1/",
                          "http://127.0.0.1:port/",
                          "http://:80/",
                          "http://@/",
                          "http://u:p@/",
                          "http://[::1/",
                          "http://[nonsense]/",
                          "http://a b/",
                          "http://127.0.0.1/a b",
                          "http://127.0.0.1/a\nb",
                          "http://127.0.0.1/a\r\nHost: other",
                          "http://127.0.0.1/\x7F",
                          "https:"}) {
    EXPECT_EQ(openUrl(url).code, OPEN_BAD_URI) << url;
  }
  boost::shared_ptr<MdchUrlBase> none;
  const MdchOpenParams params = {};
  EXPECT_EQ(openHttp(std::string("http://127.0.0.1/\0x", 19), params, none), OPEN_BAD_URI);
}

TEST(HttpOpen, AnOptionTextThatIsNotUnderstoodIsRefusedBeforeAnythingIsSent) {
  const RawServer server("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
  HttpTexts userAgent;
  userAgent.userAgent = "a\r\nb";
  HttpTexts caBundle;
  caBundle.caBundle = "/no/such/file";
  HttpTexts proxy;
  proxy.proxy = "gopher://127.0.0.1";
  HttpTexts lines;
  lines.headerLines = "no colon";
  HttpTexts limits;
  limits.limits = "soon";
  for (const HttpTexts& texts : {userAgent, caBundle, proxy, lines, limits}) {
    EXPECT_EQ(openUrl(server.url(), texts).code, OPEN_BAD_URI);
  }
  EXPECT_EQ(server.connections(), 0);
}

TEST(HttpOpen, AServerThatNeverAnswersEndsByTheStallLimit) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    connection.hold();
    return false;
  });
  HttpTexts texts;
  texts.limits = "stall=0.3";
  EXPECT_EQ(openUrl(server.url(), texts).code, OPEN_TIMED_OUT);
}

TEST(HttpOpen, AHeaderThatTricklesEndsByTheTotalLimit) {
  const RawServer server([](RawConnection& connection, const std::string&, int) {
    bool open = connection.send("HTTP/1.1 200 OK\r\n");
    while (open) {
      open = connection.trickle("X: 1\r\n", std::chrono::milliseconds(10));
    }
    return false;
  });
  HttpTexts texts;
  texts.limits = "stall=10;total=0.5";
  EXPECT_EQ(openUrl(server.url(), texts).code, OPEN_TIMED_OUT);
}

TEST(HttpOpen, AServerThatDoesNotTakeTheConnectionEndsByTheConnectLimit) {
  // A queue of connections that nobody accepts: when it is full, the next one is not even refused.
  const int listener = listenOnLoopback(0, 0);
  std::vector<int> queued;
  for (int i = 0; i < 4; ++i) {
    const int waiting = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    connectTo(waiting, portOf(listener));
    queued.push_back(waiting);
  }
  EXPECT_EQ(codeAtLimit(onPort(portOf(listener)), "connect=0.4", std::chrono::milliseconds(400)), OPEN_TIMED_OUT);
  for (const int waiting : queued) {
    close(waiting);
  }
  close(listener);
}

TEST(HttpOpen, ATlsHandshakeThatHangsEndsByTheConnectLimit) {
  const int listener = listenOnLoopback(0);  // the kernel takes the connection, nobody ever answers
  const std::string url = "https://127.0.0.1:" + std::to_string(portOf(listener)) + "/item";
  EXPECT_EQ(codeAtLimit(url, "connect=0.4", std::chrono::milliseconds(400)), OPEN_TIMED_OUT);
  close(listener);
}

}  // namespace
}  // namespace quorin_test
