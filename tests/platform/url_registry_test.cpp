#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "md/url.h"
#include "opened_item.h"
#include "support/scripted_source.h"
#include "support/temporary_folder.h"

namespace quorin_test {
namespace {

md::UrlOpener answering(int code) {
  return [code](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>&) { return code; };
}

TEST(UrlRegistry, ASchemeNobodyOpensIsCode93) {
  for (const char* uri : {"ftp://h/x", "mms://h/x", "x:", "a+b-c.1:x", "httpx://h", "C:\\music"}) {
    const OpenedItem item = openItem(uri);
    EXPECT_EQ(item.code, 93) << uri;
    EXPECT_FALSE(item.source);
  }
}

TEST(UrlRegistry, WhatHasNoSchemeIsAFile) {
  const TemporaryFolder folder;
  for (const char* name : {"1:x", "-a:x", "a b:x", "\xC3\xA4:x", ":x", "a_b:x"}) {
    folder.write(name, std::string("bytes"));
    EXPECT_EQ(openItem(folder / name).code, 0) << "a leading slash: " << name;
    EXPECT_EQ(openItem(name).code, 2) << name;
  }
  EXPECT_EQ(openItem("/scheme://x").code, 2);
}

TEST(UrlRegistry, ARegisteredSchemeIsAskedInAnyCaseWithAllItWasGiven) {
  SourceScript script;
  script.bytes = {1, 2, 3};
  ScriptedScheme scheme("Test-Scheme", script);
  MdchOpenParams params = {"agent", 5, 0, "bundle", "proxy", "headers", "limits", 0, 0};
  for (const char* uri : {"test-scheme:a", "TEST-SCHEME:B", "Test-Scheme://c"}) {
    boost::shared_ptr<MdchUrlBase> source;
    EXPECT_EQ(mdch_OpenUrl(uri, 0, params, source), 0);
    ASSERT_TRUE(source);
    EXPECT_EQ(readAll(*source), "\1\2\3");
  }
  EXPECT_EQ(scheme.opened, (std::vector<std::string>{"test-scheme:a", "TEST-SCHEME:B", "Test-Scheme://c"}));
  ASSERT_EQ(scheme.params.size(), 3U);
  EXPECT_EQ(scheme.params[0].texts[0], "agent");
  EXPECT_EQ(scheme.params[0].texts[4], "limits");
  EXPECT_EQ(scheme.params[0].raw.mode, 5U);
}

TEST(UrlRegistry, ARegisteredSchemeWinsAndTheBuiltInOneShowsAgainAfterIt) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", std::string("bytes"));
  md::registerUrlScheme("FILE", answering(42));
  md::registerUrlScheme("http", answering(43));
  EXPECT_EQ(openItem("file:" + path).code, 42);
  EXPECT_EQ(openItem("HTTP://h/").code, 43);
  EXPECT_EQ(openItem(path).code, 0) << "a path has no scheme";
  md::registerUrlScheme("file", answering(44));
  EXPECT_EQ(openItem("file:" + path).code, 44) << "the last registration counts";
  md::registerUrlScheme("file", md::UrlOpener());
  md::registerUrlScheme("HTTP", md::UrlOpener());
  EXPECT_EQ(openItem("file:" + path).code, 0);
}

TEST(UrlRegistry, UnregisteringWhatIsNotRegisteredDoesNothing) {
  md::registerUrlScheme("never-there", md::UrlOpener());
  EXPECT_EQ(openItem("never-there:x").code, 93);
}

TEST(UrlRegistry, AnOpenerMayReplaceItselfAndOpenOthers) {
  md::registerUrlScheme("outer",
                        [](const std::string&, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
                          md::registerUrlScheme("outer", answering(7));
                          return mdch_OpenUrl("outer:again", 0, params, url);
                        });
  EXPECT_EQ(openItem("outer:x").code, 7);
  md::registerUrlScheme("outer", md::UrlOpener());
}

TEST(UrlRegistry, WhatAnOpenerHoldsMayRegisterSchemesWhenItGoes) {
  struct Holder {
    ~Holder() { md::registerUrlScheme("held", md::UrlOpener()); }
  };
  for (const md::UrlOpener& next : {answering(1), md::UrlOpener()}) {
    auto holder = std::make_shared<Holder>();
    const std::weak_ptr<Holder> watched = holder;
    md::registerUrlScheme("holder", [held = std::move(holder)](const std::string&, const MdchOpenParams&,
                                                               boost::shared_ptr<MdchUrlBase>&) { return 0; });
    md::registerUrlScheme("holder", next);
    EXPECT_TRUE(watched.expired());
  }
  md::registerUrlScheme("holder", md::UrlOpener());
}

TEST(UrlRegistry, ThreadsRegisterAndOpenAtOnce) {
  std::atomic<int> wrong(0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &wrong] {
      const std::string own = "thread" + std::to_string(t);
      for (int i = 0; i < 500; ++i) {
        md::registerUrlScheme(own, answering(1000 + t));
        md::registerUrlScheme("shared", answering(77));
        const int shared = openItem("shared:x").code;
        wrong += openItem(own + ":x").code == 1000 + t && (shared == 77 || shared == 93) ? 0 : 1;
        md::registerUrlScheme("shared", md::UrlOpener());
        md::registerUrlScheme(own, md::UrlOpener());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(openItem("shared:x").code, 93);
}

}  // namespace
}  // namespace quorin_test
