#include "allocation_failure.h"

#include <chrono>
#include <filesystem>
#include <new>
#include <thread>

#include "counted_allocation.h"
#include "framework/status.h"
#include "obq/debug.h"
#include "support/describe.h"

namespace zu::md::common::quorin {

using namespace quorin_test;

namespace {

constexpr int mostAllocations = 1000;
constexpr size_t mostLogged = 1 << 20;  // bytes

/// How often the process has something open; 0 where it cannot be told.
long openDescriptors() {
  std::error_code error;
  const std::filesystem::directory_iterator descriptors("/proc/self/fd", error);
  return error ? 0 : std::distance(begin(descriptors), end(descriptors));
}

}  // namespace

QuietLog::QuietLog() {
  text.reserve(mostLogged);
  obq::setDebugSink([this](uint32_t, uint32_t level, std::string_view line) {
    text.append(std::to_string(level)).append(" ").append(line);
  });
  obq::setDebugLevel(0x68, 5000);
}

QuietLog::~QuietLog() {
  obq::setDebugLevel(0x68, 0);
  obq::setDebugSink(obq::DebugSink());
}

AllocationFailure::AllocationFailure() {
  ::md::registerUrlScheme("memory",
                          [this](const std::string&, const MdchOpenParams&, boost::shared_ptr<MdchUrlBase>& url) {
                            url = opened.source;
                            return opened.code;
                          });
}

AllocationFailure::~AllocationFailure() {
  onlyOneFails = false;
  ::md::registerUrlScheme("memory", ::md::UrlOpener());
}

void AllocationFailure::expectEveryFailureIsTold(const std::string& uri, const Opening& open) {
  if (HasFailure()) {
    return;  // one item's failures are enough to read
  }
  SCOPED_TRACE(uri);
  params.uri = uri;
  open_ = open;
  analyzeWithEnough();  // the first analysis of a process makes what lasts
  const Outcome expected = analyzeWithEnough();
  const long descriptors = openDescriptors();
  for (const bool onlyOne : {false, true}) {
    onlyOneFails = onlyOne;
    int succeeding = 0;
    while (expectFailureIsTold(succeeding, expected) && !HasFailure()) {
      ASSERT_LT(++succeeding, mostAllocations);
    }
    EXPECT_GT(succeeding, 1);
    EXPECT_FALSE(HasFailure()) << (onlyOne ? "only" : "from") << " allocation " << succeeding + 1;
  }
  opened = Opened();
  for (int tries = 0; openDescriptors() > descriptors && tries < 500; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));  // a server of this test may be about to close its end
  }
  EXPECT_LE(openDescriptors(), descriptors);
}

AllocationFailure::Outcome AllocationFailure::analyzeWithEnough() {
  opened = open_();
  log_.text.clear();
  boost::shared_ptr<AnalyzeResult> result;
  const int status = analyzer_.analyze(params, result);
  return {status, describe(result->info.get()), log_.text};
}

/// @return whether an allocation failed
bool AllocationFailure::expectFailureIsTold(int succeeding, const Outcome& expected) {
  opened = open_();
  log_.text.clear();
  const long live = liveAllocations;
  const unsigned long failed = failedAllocations;
  expectDocumentedOutcome(succeeding, expected);
  EXPECT_EQ(liveAllocations, live) << "leaked";
  EXPECT_LE(opened.source.use_count(), 1) << "still open";
  EXPECT_EQ(analyzeWithEnough(), expected) << "afterwards";
  return failedAllocations != failed;
}

void AllocationFailure::expectDocumentedOutcome(int succeeding, const Outcome& expected) {
  boost::shared_ptr<AnalyzeResult> result;
  allocationsLeft = succeeding;
  try {
    const int status = analyzer_.analyze(params, result);
    allocationsLeft = never;
    if (status == STATUS_NO_MEMORY) {
      EXPECT_FALSE(result);
      EXPECT_EQ(log_.text, "4000 Analyzer::Impl::analyze() analyze '" + params.uri +
                               "'.\n3000 Analyzer::Impl::analyze() out of memory.\n");
    } else {
      EXPECT_EQ((Outcome{status, describe(result->info.get()), log_.text}), expected);
    }
  } catch (const std::bad_alloc&) {
    allocationsLeft = never;
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->info);
  }
}

}  // namespace zu::md::common::quorin
