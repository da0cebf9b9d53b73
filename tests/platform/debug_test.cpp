#include "obq/debug.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"

namespace {

constexpr uint32_t module = 0x77;
constexpr uint32_t otherModule = 0x78;

struct Record {
  uint32_t words[3];
};

Record recordOf(uint32_t ofModule, uint32_t level) { return {{ofModule << 16 | level, 0, 0}}; }

/// As a program asks: first the load, then the call.
bool isWanted(uint32_t ofModule, uint32_t level) {
  const Record record = recordOf(ofModule, level);
  return level <= obqDebugMostVerbose.load(std::memory_order_relaxed) &&
         obqDebugCheckLevelGetFrameAndChunk(record.words) != 0;
}

void write(const std::string& text, uint32_t ofModule = module, uint32_t level = 4000) {
  obqDebugOutput0(recordOf(ofModule, level).words, "%s", text.c_str());
}

/// Leaves the output as it was found: silent, and on standard error.
class Debug : public testing::Test {
 protected:
  ~Debug() override {
    obq::setDebugSink(obq::DebugSink());
    obq::setDebugLevel(module, 0);
    obq::setDebugLevel(otherModule, 0);
  }

  void collect() {
    obq::setDebugSink([this](uint32_t, uint32_t, std::string_view text) { lines.emplace_back(text); });
  }

  std::vector<std::string> lines;
};

/// What `body` writes to standard error.
template <typename Body>
std::string standardErrorOf(Body body) {
  const quorin_test::TemporaryFolder folder;
  const std::string path = folder / "stderr";
  const int before = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  const int file = open(path.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
  dup2(file, STDERR_FILENO);
  body();
  dup2(before, STDERR_FILENO);
  close(before);
  close(file);
  std::ifstream written(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(written), std::istreambuf_iterator<char>());
}

TEST_F(Debug, AModuleShowsLinesUpToItsLevel) {
  obq::setDebugLevel(module, 4000);
  EXPECT_TRUE(isWanted(module, 1000));
  EXPECT_TRUE(isWanted(module, 3000));
  EXPECT_TRUE(isWanted(module, 4000));
  EXPECT_FALSE(isWanted(module, 4001));
  EXPECT_FALSE(isWanted(module, 5000));
  EXPECT_FALSE(isWanted(otherModule, 1000));
}

TEST_F(Debug, TheMostVerboseModuleDecidesWhetherAnybodyIsAsked) {
  obq::setDebugLevel(module, 3000);
  EXPECT_EQ(obqDebugMostVerbose.load(), 3000U);
  obq::setDebugLevel(otherModule, 5000);
  EXPECT_EQ(obqDebugMostVerbose.load(), 5000U);
  EXPECT_FALSE(isWanted(module, 5000));
  obq::setDebugLevel(otherModule, 0);
  EXPECT_EQ(obqDebugMostVerbose.load(), 3000U);
  obq::setDebugLevel(module, 0);
  EXPECT_EQ(obqDebugMostVerbose.load(), 0U);
  EXPECT_FALSE(isWanted(module, 1000));
}

TEST_F(Debug, TheSinkReceivesModuleLevelAndFormattedText) {
  uint32_t seenModule = 0;
  uint32_t seenLevel = 0;
  std::string seenText;
  obq::setDebugSink([&](uint32_t ofModule, uint32_t level, std::string_view text) {
    seenModule = ofModule;
    seenLevel = level;
    seenText = text;
  });
  obqDebugOutput0(recordOf(0xFFFF, 5000).words, "%s() %d of %u\n", "read", -3, 7U);
  EXPECT_EQ(seenModule, 0xFFFFU);
  EXPECT_EQ(seenLevel, 5000U);
  EXPECT_EQ(seenText, "read() -3 of 7\n");
}

TEST_F(Debug, ALineArrivesWholeHoweverLong) {
  collect();
  const size_t lengths[] = {0, 1, 510, 511, 512, 513, 1024, 1000000};
  for (const size_t length : lengths) {
    write(std::string(length, 'x') + '\n');
  }
  ASSERT_EQ(lines.size(), std::size(lengths));
  for (size_t i = 0; i < lines.size(); ++i) {
    EXPECT_TRUE(lines[i] == std::string(lengths[i], 'x') + '\n') << lengths[i];
  }
}

TEST_F(Debug, WithoutASinkLinesGoToStandardError) {
  const std::string longLine = std::string(100000, 'y') + '\n';
  EXPECT_EQ(standardErrorOf([&] {
              write("first\n");
              write(longLine);
              collect();
              write("to the sink\n");
              obq::setDebugSink(obq::DebugSink());
              write("last\n");
            }),
            "first\n" + longLine + "last\n");
  EXPECT_EQ(lines, std::vector<std::string>{"to the sink\n"});
}

TEST_F(Debug, WithStandardErrorClosedLinesAreLostAndNothingElse) {
  EXPECT_EQ(standardErrorOf([] {
              close(STDERR_FILENO);
              errno = ENOENT;
              write("lost\n");
              EXPECT_EQ(errno, ENOENT);
            }),
            "");
  EXPECT_EQ(standardErrorOf([] { write("seen\n"); }), "seen\n");
}

TEST_F(Debug, ALineThatCannotBeFormattedIsLostAlone) {
  collect();
  obqDebugOutput0(recordOf(module, 4000).words, "%ls\n", L"\x7fffffff");  // no character of any locale
  write("next\n");
  EXPECT_EQ(lines, std::vector<std::string>{"next\n"});
}

TEST_F(Debug, ThreadsNeverTearALine) {
  const std::string written = standardErrorOf([] {
    std::vector<std::thread> threads;
    for (char name = 'a'; name < 'e'; ++name) {
      threads.emplace_back([name] {
        for (size_t i = 0; i < 200; ++i) {
          write(std::string(300 + i * 3, name) + '\n');
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  size_t count = 0;
  for (size_t start = 0; start < written.size(); ++count) {
    const size_t end = written.find('\n', start);
    ASSERT_NE(end, std::string::npos);
    ASSERT_EQ(written.find_first_not_of(written[start], start), end);
    start = end + 1;
  }
  EXPECT_EQ(count, 800U);
}

TEST_F(Debug, CallsOfTheSinkDoNotOverlap) {
  std::atomic<int> inside(0);
  std::atomic<int> overlaps(0);
  obq::setDebugSink([&](uint32_t, uint32_t, std::string_view) {
    overlaps += ++inside == 1 ? 0 : 1;
    --inside;
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i) {
        write("x");
        obq::setDebugLevel(otherModule, static_cast<uint32_t>(i));
        isWanted(otherModule, 100);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(overlaps, 0);
}

TEST_F(Debug, AReplacedSinkIsNotCalledAgain) {
  std::atomic<bool> stopped(false);
  std::thread writer([&stopped] {
    while (!stopped) {
      write("x");
    }
  });
  for (int i = 0; i < 200; ++i) {
    auto alive = std::make_unique<std::atomic<int>>(0);
    obq::setDebugSink([raw = alive.get()](uint32_t, uint32_t, std::string_view) { ++*raw; });
    obq::setDebugSink([](uint32_t, uint32_t, std::string_view) {});
  }
  stopped = true;
  writer.join();
}

TEST_F(Debug, ASinkThatLogsDropsItsOwnLines) {
  int calls = 0;
  obq::setDebugSink([&calls](uint32_t, uint32_t, std::string_view) {
    ++calls;
    write("from the sink\n");
  });
  write("outer\n");
  EXPECT_EQ(calls, 1);
  write("outer\n");
  EXPECT_EQ(calls, 2) << "only the nested line is dropped";
}

TEST_F(Debug, ASinkMayReplaceItself) {
  const auto held = std::make_shared<int>(5);
  int seen = 0;
  obq::setDebugSink([this, held, &seen](uint32_t, uint32_t, std::string_view) {
    collect();
    seen = *held;  // the running sink outlives its replacement
  });
  write("first\n");
  write("second\n");
  EXPECT_EQ(seen, 5);
  EXPECT_EQ(lines, std::vector<std::string>{"second\n"});
}

TEST_F(Debug, WhatASinkHoldsMayLogWhenItGoes) {
  struct Logging {
    ~Logging() { write("gone\n"); }
  };
  auto held = std::make_shared<Logging>();
  obq::setDebugSink([held](uint32_t, uint32_t, std::string_view) {});
  held.reset();
  collect();
  EXPECT_EQ(lines, std::vector<std::string>{"gone\n"});
}

TEST_F(Debug, ASinkThatThrowsLosesTheLineOnly) {
  bool throws = true;
  obq::setDebugSink([&](uint32_t, uint32_t, std::string_view text) {
    if (throws) {
      throw std::runtime_error("sink");
    }
    lines.emplace_back(text);
  });
  EXPECT_NO_THROW(write("lost\n"));
  throws = false;
  write("kept\n");
  EXPECT_EQ(lines, std::vector<std::string>{"kept\n"});
}

TEST_F(Debug, LoggingKeepsTheErrorOfItsCaller) {
  obq::setDebugSink([](uint32_t, uint32_t, std::string_view) { errno = EIO; });
  errno = ENOENT;
  write("x");
  EXPECT_EQ(errno, ENOENT);
}

/// Highest of the usual levels that is wanted in a process of its own with this OBQ_DEBUG; null for none.
int presetOf(const char* value) {
  const pid_t child = fork();
  if (child == 0) {
    if (value == nullptr ? unsetenv("OBQ_DEBUG") != 0 : setenv("OBQ_DEBUG", value, 1) != 0) {
      _exit(99);
    }
    int highest = 0;
    for (int level = 1; level <= 6; ++level) {
      highest = isWanted(module, static_cast<uint32_t>(level) * 1000) ? level : highest;
    }
    obq::setDebugLevel(otherModule, 2000);  // one module's own level leaves the others alone
    const bool others = isWanted(module, 5000) == (highest >= 5) && !isWanted(otherModule, 3000);
    _exit(others ? highest : 98);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(DebugPreset, TheEnvironmentSetsTheLevelOfEveryModule) {
  if (obqDebugMostVerbose.load() != UINT32_MAX) {
    GTEST_SKIP() << "a test before this one has logged; ctest gives each its own process";
  }
  EXPECT_EQ(presetOf(nullptr), 0) << "silent by default";
  EXPECT_EQ(presetOf("0"), 0);
  EXPECT_EQ(presetOf("3000"), 3);
  EXPECT_EQ(presetOf("4999"), 4);
  EXPECT_EQ(presetOf("5000"), 5);
  EXPECT_EQ(presetOf("05000"), 5);
  for (const char* garbage :
       {"", " ", "-1", "+5000", "5000x", " 5000", "0x5000", "5e3", "verbose", "99999999999999999999"}) {
    EXPECT_EQ(presetOf(garbage), 0) << garbage;
  }
}

}  // namespace
