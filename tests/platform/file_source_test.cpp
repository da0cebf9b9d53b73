#include "file/file_source.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <fstream>
#include <list>
#include <thread>

#include "contract/source_contract.h"
#include "opened_item.h"
#include "support/bytes.h"
#include "support/temporary_folder.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using md::host::FileSource;
using md::host::SOURCE_BAD_OFFSET;
using md::host::SOURCE_NOT_SEEKABLE;
using md::host::SOURCE_READ_FAILED;
using md::host::SOURCE_SIZE_UNKNOWN;
using md::host::SOURCE_TIMED_OUT;
using std::chrono::milliseconds;

/// A machine that is busy with other things takes its time.
constexpr std::chrono::seconds generous(10);

/// Writes a FIFO from another thread, if it finds a reader. The reader may close it at any time.
class FifoWriter {
 public:
  FifoWriter(std::string path, std::function<void(int descriptor)> write)
      : path_(std::move(path)), write_(std::move(write)), thread_([this] { run(); }) {}
  ~FifoWriter() {
    stopped_ = true;
    thread_.join();
  }
  FifoWriter(const FifoWriter&) = delete;
  FifoWriter& operator=(const FifoWriter&) = delete;

 private:
  void run() {
    int descriptor = -1;
    while (descriptor < 0 && !stopped_) {
      descriptor = open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);  // which fails while there is no reader
      if (descriptor < 0) {
        std::this_thread::sleep_for(milliseconds(1));
      }
    }
    if (descriptor >= 0) {
      fcntl(descriptor, F_SETFL, 0);  // blocking
      write_(descriptor);
      close(descriptor);
    }
  }

  const std::string path_;
  const std::function<void(int descriptor)> write_;
  std::atomic<bool> stopped_{false};
  std::thread thread_;
};

/// @return false when the reader is gone
bool writeAll(int descriptor, const void* data, size_t length) {
  const char* next = static_cast<const char*>(data);
  while (length > 0) {
    const ssize_t written = write(descriptor, next, length);
    if (written <= 0) {
      return false;
    }
    next += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

class Fifo : public testing::Test {
 protected:
  Fifo() {
    std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(mkfifo(path.c_str(), 0666), 0);
  }

  const TemporaryFolder folder;
  const std::string path = folder / "fifo";
};

class RegularFiles : public SourceFactory {
 public:
  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    return openItem(folder_.write("item" + std::to_string(++count_), bytes)).source;
  }

 private:
  TemporaryFolder folder_;
  int count_ = 0;
};

class Fifos : public SourceFactory {
 public:
  Fifos() { std::signal(SIGPIPE, SIG_IGN); }

  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
    const std::string path = folder_ / ("fifo" + std::to_string(writers_.size()));
    if (mkfifo(path.c_str(), 0666) != 0) {
      return nullptr;
    }
    const OpenedItem item = openItem(path);
    writers_.emplace_back(path, [bytes](int descriptor) { writeAll(descriptor, bytes.data(), bytes.size()); });
    return item.source;
  }

 private:
  TemporaryFolder folder_;
  std::list<FifoWriter> writers_;
};

INSTANTIATE_TEST_SUITE_P(File, SourceContract,
                         testing::Values(SourceKind{"Regular", true, true, makeFactory<RegularFiles>},
                                         SourceKind{"Fifo", false, false, makeFactory<Fifos>}),
                         sourceKindName);

TEST(FileSource, FailuresHaveTheirCodes) {
  const TemporaryFolder folder;
  const OpenedItem file = openItem(folder.write("item", std::string("bytes")));
  ASSERT_EQ(file.code, 0);
  EXPECT_EQ(file.source->seek(-1), SOURCE_BAD_OFFSET);
  const OpenedItem device = openItem("/dev/null");
  ASSERT_EQ(device.code, 0);
  long long size = 77;
  EXPECT_EQ(device.source->size(size), SOURCE_SIZE_UNKNOWN);
  EXPECT_EQ(size, 77);
  EXPECT_EQ(device.source->seek(0), SOURCE_NOT_SEEKABLE);
}

TEST(FileSource, CountsBytesAndReads) {
  const TemporaryFolder folder;
  const OpenedItem item = openItem(folder.write("item", testBytes(10000)));
  ASSERT_EQ(item.code, 0);
  unsigned char buffer[4096];
  unsigned int got = 0;
  bool seekable = false;
  long long size = 0;
  item.source->getSeekable(seekable);
  item.source->size(size);
  item.source->seek(9000);
  EXPECT_EQ(item.source->cost().bytes, 0U);
  EXPECT_EQ(item.source->cost().reads, 0U);
  item.source->read(buffer, 0, got);
  EXPECT_EQ(item.source->cost().reads, 0U);
  item.source->read(buffer, 500, got);
  item.source->read(buffer, sizeof buffer, got);
  EXPECT_EQ(item.source->cost().bytes, 1000U);
  EXPECT_EQ(item.source->cost().reads, 2U);
  EXPECT_EQ(item.source->cost().requests, 0U);
}

TEST(FileSource, TheStartIsReadAtOnceAndKeptAsIsWhatWasReadLast) {
  const TemporaryFolder folder;
  const Bytes bytes = testBytes(100000);
  const OpenedItem item = openItem(folder.write("item", bytes));
  ASSERT_EQ(item.code, 0);
  const auto costOf = [&](int offset, unsigned int length) {
    const UrlCost before = item.source->cost();
    item.source->seek(offset);
    Bytes read(length);
    for (unsigned int count = 0, got = 1; count < length && got > 0; count += got) {
      item.source->read(read.data() + count, length - count, got);
    }
    EXPECT_EQ(read, Bytes(bytes.begin() + offset, bytes.begin() + offset + static_cast<int>(length)));
    const UrlCost after = item.source->cost();
    return std::make_pair(after.reads - before.reads, after.bytes - before.bytes);
  };
  const auto nothing = std::make_pair(0U, 0ULL);
  EXPECT_EQ(costOf(0, 100), std::make_pair(1U, 9216ULL));
  EXPECT_EQ(costOf(9116, 100), nothing);
  EXPECT_EQ(costOf(67, 8192), nothing);
  EXPECT_EQ(costOf(9215, 2), std::make_pair(1U, 1ULL)) << "behind them what was asked for";
  EXPECT_EQ(costOf(70000, 4096), std::make_pair(1U, 4096ULL)) << "only what was asked for, away from the start";
  EXPECT_EQ(costOf(70010, 4086), nothing);
  EXPECT_EQ(costOf(70010, 4096), std::make_pair(1U, 10ULL)) << "and only what is not there yet";
  EXPECT_EQ(costOf(0, 9215), nothing) << "wherever something was read in between";
  EXPECT_EQ(costOf(4000, 20000), std::make_pair(1U, 14784ULL)) << "a large read begins with what is at hand";
  EXPECT_EQ(costOf(74096, 10), nothing) << "and is not kept itself";
}

TEST(FileSource, ALargeReadOfTheStartIsOfWhatWasAskedFor) {
  const TemporaryFolder folder;
  const Bytes bytes = testBytes(100000);
  const OpenedItem item = openItem(folder.write("item", bytes));
  ASSERT_EQ(item.code, 0);
  Bytes read(9216);
  unsigned int got = 0;
  EXPECT_EQ(item.source->read(read.data(), 9216, got), 0);
  EXPECT_EQ(got, 9216U);
  EXPECT_TRUE(read == slice(bytes, 0, 9216));
  EXPECT_EQ(readAll(*item.source).size(), 100000U - 9216U);
}

TEST(FileSource, ASizeThatWasToldHoldsOnlyForAMoment) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", testBytes(100));
  const OpenedItem item = openItem(path);
  ASSERT_EQ(item.code, 0);
  std::ofstream(path, std::ios::app) << "new";
  std::this_thread::sleep_for(FileSource::sizeHolds + std::chrono::milliseconds(50));
  long long size = 0;
  EXPECT_EQ(item.source->size(size), 0);
  EXPECT_EQ(size, 103);
}

TEST(FileSource, ReadsBeyondFourGibibytes) {
  constexpr long long fiveGibibytes = 5LL << 30;
  const TemporaryFolder folder;
  const std::string path = folder.write("sparse", std::string());
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (ftruncate(descriptor, fiveGibibytes) != 0) {
    close(descriptor);
    GTEST_SKIP() << "no sparse files here";
  }
  ASSERT_EQ(pwrite(descriptor, "far end", 7, fiveGibibytes), 7);
  close(descriptor);
  const OpenedItem item = openItem(path);
  ASSERT_EQ(item.code, 0);
  long long size = 0;
  ASSERT_EQ(item.source->size(size), 0);
  EXPECT_EQ(size, fiveGibibytes + 7);
  ASSERT_EQ(item.source->seek(fiveGibibytes), 0);
  EXPECT_EQ(readAll(*item.source), "far end");
  long long position = 0;
  item.source->tell(position);
  EXPECT_EQ(position, fiveGibibytes + 7);
  ASSERT_EQ(item.source->seek(fiveGibibytes - 2), 0);
  EXPECT_EQ(readAll(*item.source), std::string("\0\0far end", 9));
}

TEST(FileSource, TheHighestOffsetIsBeyondTheEnd) {
  const TemporaryFolder folder;
  const OpenedItem item = openItem(folder.write("item", std::string("bytes")));
  ASSERT_EQ(item.code, 0);
  for (const long long offset : {LLONG_MAX, LLONG_MAX - 1, LLONG_MAX - 4096, 1LL << 62}) {
    ASSERT_EQ(item.source->seek(offset), 0);
    int status = -1;
    EXPECT_EQ(readAll(*item.source, &status), "");
    EXPECT_EQ(status, 0) << offset;
  }
}

TEST(FileSource, AFileThatIsTruncatedMeanwhileEnds) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", testBytes(100000));
  const OpenedItem item = openItem(path);
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source, nullptr, 20480).size(), 9216U + 3 * 4096U);
  ASSERT_EQ(truncate(path.c_str(), 500), 0);
  int status = -1;
  EXPECT_EQ(readAll(*item.source, &status), "");
  EXPECT_EQ(status, 0);
  long long size = 0;
  EXPECT_EQ(item.source->size(size), 0);
  EXPECT_EQ(size, 500);
  EXPECT_EQ(item.source->seek(0), 0);
  EXPECT_EQ(readAll(*item.source).size(), 500U);
}

TEST(FileSource, AFileThatGrowsShowsItsNewEndAfterASeek) {
  const TemporaryFolder folder;
  const std::string path = folder.write("item", std::string("old"));
  const OpenedItem item = openItem(path);
  ASSERT_EQ(item.code, 0);
  EXPECT_EQ(readAll(*item.source), "old");
  std::ofstream(path, std::ios::app) << "new";
  long long size = 0;
  EXPECT_EQ(item.source->size(size), 0);
  EXPECT_EQ(size, 6);
  EXPECT_EQ(readAll(*item.source), "") << "an end that was told lasts";
  EXPECT_EQ(item.source->seek(3), 0);
  EXPECT_EQ(readAll(*item.source), "new");
}

TEST(FileSource, AReadThatFailsDeliversNothing) {
  const OpenedItem item = openItem("/proc/self/mem");  // whose first page nobody can read
  if (item.code != 0) {
    GTEST_SKIP() << "/proc/self/mem cannot be opened: " << item.code;
  }
  unsigned char byte = 0xA5;
  unsigned int got = 77;
  EXPECT_EQ(item.source->read(&byte, 1, got), SOURCE_READ_FAILED);
  EXPECT_EQ(got, 0U);
  long long position = 77;
  EXPECT_EQ(item.source->tell(position), 0);
  EXPECT_EQ(position, 0);
}

TEST(FileSource, AnEmptyDeviceEndsAtOnce) {
  const OpenedItem item = openItem("/dev/null");
  ASSERT_EQ(item.code, 0);
  int status = -1;
  EXPECT_EQ(readAll(*item.source, &status), "");
  EXPECT_EQ(status, 0);
}

TEST(FileSource, ADeviceIsReadFromFrontToEnd) {
  const OpenedItem item = openItem("/dev/zero");
  ASSERT_EQ(item.code, 0);
  bool seekable = true;
  EXPECT_EQ(item.source->getSeekable(seekable), 0);
  EXPECT_FALSE(seekable);
  EXPECT_EQ(readAll(*item.source, nullptr, 100000), std::string(102400, '\0'));
  long long position = 0;
  EXPECT_EQ(item.source->tell(position), 0);
  EXPECT_EQ(position, 102400);
}

TEST_F(Fifo, WaitsForAWriterThatComesLate) {
  const OpenedItem item = openItem(path);
  ASSERT_EQ(item.code, 0);
  const FifoWriter writer(path, [](int descriptor) { writeAll(descriptor, "late", 4); });
  EXPECT_EQ(readAll(*item.source), "late");
  EXPECT_EQ(readAll(*item.source), "");
}

TEST_F(Fifo, WithoutAWriterTheStallLimitEndsIt) {
  const auto start = std::chrono::steady_clock::now();
  const OpenedItem item = openItem(path, "stall=0.2");
  ASSERT_EQ(item.code, 0);
  int status = 0;
  EXPECT_EQ(readAll(*item.source, &status), "");
  EXPECT_EQ(status, SOURCE_TIMED_OUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(200));
  EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
}

TEST_F(Fifo, AfterTheStallLimitNobodyWaitsAgain) {
  const auto start = std::chrono::steady_clock::now();
  const OpenedItem item = openItem(path, "stall=0.2");
  ASSERT_EQ(item.code, 0);
  int status = 0;
  for (int i = 0; i < 200; ++i) {
    readAll(*item.source, &status);
    ASSERT_EQ(status, SOURCE_TIMED_OUT);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
}

TEST_F(Fifo, BytesBeforeAStallAreDelivered) {
  const OpenedItem item = openItem(path, "stall=0.2");
  ASSERT_EQ(item.code, 0);
  std::atomic<bool> done(false);
  const FifoWriter writer(path, [&done](int descriptor) {
    writeAll(descriptor, "some", 4);
    while (!done) {
      std::this_thread::sleep_for(milliseconds(10));
    }
  });
  int status = 0;
  EXPECT_EQ(readAll(*item.source, &status), "some");
  EXPECT_EQ(status, SOURCE_TIMED_OUT);
  done = true;
}

TEST_F(Fifo, TheTotalLimitEndsATrickle) {
  const auto start = std::chrono::steady_clock::now();
  {
    const OpenedItem item = openItem(path, "stall=5;total=0.5");
    ASSERT_EQ(item.code, 0);
    std::atomic<bool> done(false);
    const FifoWriter writer(path, [&done](int descriptor) {
      while (!done && writeAll(descriptor, "t", 1)) {
        std::this_thread::sleep_for(milliseconds(10));
      }
    });
    int status = 0;
    EXPECT_NE(readAll(*item.source, &status), "");
    EXPECT_EQ(status, SOURCE_TIMED_OUT);
    done = true;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
}

TEST_F(Fifo, TheTotalLimitAloneEndsTheWait) {
  const auto start = std::chrono::steady_clock::now();
  const OpenedItem item = openItem(path, "stall=0;total=0.3");
  ASSERT_EQ(item.code, 0);
  int status = 0;
  EXPECT_EQ(readAll(*item.source, &status), "");
  EXPECT_EQ(status, SOURCE_TIMED_OUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(300));
  EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
}

TEST_F(Fifo, WithoutLimitsAWriterMayTakeItsTime) {
  const OpenedItem item = openItem(path, "stall=0;total=0");
  ASSERT_EQ(item.code, 0);
  const FifoWriter writer(path, [](int descriptor) {
    std::this_thread::sleep_for(milliseconds(200));
    writeAll(descriptor, "late", 4);
  });
  int status = -1;
  EXPECT_EQ(readAll(*item.source, &status), "late");
  EXPECT_EQ(status, 0);
}

TEST_F(Fifo, SignalsNeitherEndNorProlongTheWait) {
  struct sigaction interrupt = {};
  interrupt.sa_handler = [](int) {};  // without SA_RESTART
  struct sigaction before = {};
  ASSERT_EQ(sigaction(SIGUSR1, &interrupt, &before), 0);
  const auto start = std::chrono::steady_clock::now();
  const OpenedItem item = openItem(path, "stall=0.3");
  ASSERT_EQ(item.code, 0);
  std::atomic<bool> done(false);
  std::thread sender([&done, reader = pthread_self()] {
    while (!done) {
      pthread_kill(reader, SIGUSR1);
      std::this_thread::sleep_for(milliseconds(20));
    }
  });
  int status = 0;
  readAll(*item.source, &status);
  done = true;
  sender.join();
  sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(status, SOURCE_TIMED_OUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(300));
  EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
}

}  // namespace
}  // namespace quorin_test
