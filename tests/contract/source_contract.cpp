#include "source_contract.h"

#include <algorithm>
#include <climits>
#include <random>
#include <stdexcept>

#include "support/bytes.h"

namespace quorin_test {

namespace {

constexpr unsigned char guard = 0xA5;
constexpr unsigned int guardLength = 16;
constexpr long long untouched = -7777;

}  // namespace

boost::shared_ptr<MdchUrlBase> SourceContract::open(const Bytes& bytes) {
  if (!factory_) {
    factory_ = GetParam().makeFactory();
  }
  boost::shared_ptr<MdchUrlBase> source = factory_->open(bytes);
  if (!source) {
    throw std::runtime_error("the source could not be opened");
  }
  return source;
}

Bytes SourceContract::readUpTo(MdchUrlBase& source, size_t length, unsigned int perRead) {
  Bytes all;
  Bytes buffer(static_cast<size_t>(perRead) + guardLength);
  while (all.size() < length) {
    const auto ask = static_cast<unsigned int>(std::min<size_t>(perRead, length - all.size()));
    std::fill_n(buffer.begin() + ask, guardLength, guard);
    unsigned int got = UINT_MAX;
    const int status = source.read(buffer.data(), ask, got);
    if (status != 0 || got > ask) {
      ADD_FAILURE() << "read at " << all.size() << " of " << ask << " bytes: status " << status << ", " << got
                    << " bytes";
      break;
    }
    EXPECT_TRUE(std::all_of(buffer.begin() + ask, buffer.begin() + ask + guardLength, [](unsigned char byte) {
      return byte == guard;
    })) << "wrote behind the buffer";
    if (got == 0) {
      break;
    }
    all.insert(all.end(), buffer.begin(), buffer.begin() + got);
  }
  return all;
}

long long SourceContract::position(MdchUrlBase& source) {
  long long offset = untouched;
  EXPECT_EQ(source.tell(offset), 0);
  return offset;
}

bool SourceContract::onlyRefusesToSeek(MdchUrlBase& source) {
  if (GetParam().seekable) {
    return false;
  }
  EXPECT_LT(source.seek(1), 0);
  EXPECT_EQ(position(source), 0);
  return true;
}

TEST_P(SourceContract, StandsAtTheStartAfterOpening) {
  const auto source = open(testBytes(100));
  EXPECT_EQ(position(*source), 0);
}

TEST_P(SourceContract, DeliversAllBytesInOrderWhateverIsAskedFor) {
  const Bytes bytes = testBytes(150001);
  for (const unsigned int perRead : {997U, 4096U, 65536U, 400000U}) {
    const auto source = open(bytes);
    EXPECT_TRUE(readUpTo(*source, bytes.size() + 1, perRead) == bytes) << perRead << " bytes per read";
  }
}

TEST_P(SourceContract, DeliversBytesOneByOne) {
  const Bytes bytes = testBytes(300);
  const auto source = open(bytes);
  EXPECT_TRUE(readUpTo(*source, bytes.size() + 1, 1) == bytes);
}

TEST_P(SourceContract, TellsThePositionBehindTheBytesRead) {
  const auto source = open(testBytes(10000));
  for (const size_t length : {1U, 10U, 100U, 5000U}) {
    const long long before = position(*source);
    ASSERT_EQ(readUpTo(*source, length, 4096).size(), length);
    EXPECT_EQ(position(*source), before + static_cast<long long>(length));
  }
}

TEST_P(SourceContract, TheEndIsMetOnEveryFurtherRead) {
  const auto source = open(testBytes(1000));
  ASSERT_EQ(readUpTo(*source, 1001, 4096).size(), 1000U);
  for (int i = 0; i < 3; ++i) {
    unsigned char byte = guard;
    unsigned int got = UINT_MAX;
    EXPECT_EQ(source->read(&byte, 1, got), 0);
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(byte, guard);
    EXPECT_EQ(position(*source), 1000);
  }
}

TEST_P(SourceContract, AnEmptyStreamEndsAtOnce) {
  const auto source = open(Bytes());
  EXPECT_EQ(position(*source), 0);
  unsigned char byte = guard;
  unsigned int got = UINT_MAX;
  EXPECT_EQ(source->read(&byte, 1, got), 0);
  EXPECT_EQ(got, 0U);
  EXPECT_EQ(position(*source), 0);
}

TEST_P(SourceContract, AskingForNoBytesDeliversNone) {
  const Bytes bytes = testBytes(100);
  const auto source = open(bytes);
  for (const size_t skip : {0U, 40U, 60U}) {  // at the start, inside and at the end
    const long long before = position(*source) + static_cast<long long>(readUpTo(*source, skip, 4096).size());
    unsigned char byte = guard;
    unsigned int got = UINT_MAX;
    EXPECT_EQ(source->read(&byte, 0, got), 0);
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(byte, guard);
    EXPECT_EQ(position(*source), before);
  }
}

TEST_P(SourceContract, TellsItsSizeOrFails) {
  for (const size_t length : {0U, 1U, 70000U}) {
    const auto source = open(testBytes(length));
    for (int i = 0; i < 2; ++i) {  // before and after reading
      long long size = untouched;
      const int status = source->size(size);
      if (GetParam().sizeKnown) {
        EXPECT_EQ(status, 0);
        EXPECT_EQ(size, static_cast<long long>(length));
      } else {
        EXPECT_LT(status, 0);
        EXPECT_EQ(size, untouched);
      }
      const long long before = position(*source);
      EXPECT_EQ(before, i == 0 ? 0 : static_cast<long long>(length));
      readUpTo(*source, length, 4096);
    }
  }
}

TEST_P(SourceContract, TellsWhetherItCanSeek) {
  const auto source = open(testBytes(100));
  bool seekable = !GetParam().seekable;
  EXPECT_EQ(source->getSeekable(seekable), 0);
  EXPECT_EQ(seekable, GetParam().seekable);
}

TEST_P(SourceContract, ASourceThatCannotSeekRefusesAndReadsOn) {
  if (GetParam().seekable) {
    return;
  }
  const Bytes bytes = testBytes(5000);
  const auto source = open(bytes);
  Bytes all = readUpTo(*source, 1000, 1000);
  for (const long long target : {0LL, 1000LL, 2000LL, 5000LL, 6000LL, -1LL}) {
    EXPECT_LT(source->seek(target), 0) << target;
    EXPECT_EQ(position(*source), 1000) << target;
  }
  const Bytes rest = readUpTo(*source, bytes.size(), 1000);
  all.insert(all.end(), rest.begin(), rest.end());
  EXPECT_TRUE(all == bytes);
}

TEST_P(SourceContract, SeekSetsThePositionOfTheNextRead) {
  const Bytes bytes = testBytes(200000);
  const auto source = open(bytes);
  if (onlyRefusesToSeek(*source)) {
    return;
  }
  for (const long long target : {199999LL, 0LL, 1LL, 65536LL, 65535LL, 100000LL, 100000LL, 100001LL, 150000LL, 5LL}) {
    ASSERT_EQ(source->seek(target), 0) << target;
    EXPECT_EQ(position(*source), target);
    const Bytes read = readUpTo(*source, 700, 512);
    ASSERT_EQ(read.size(), std::min<size_t>(700, bytes.size() - static_cast<size_t>(target))) << target;
    EXPECT_TRUE(read == slice(bytes, target, 700)) << target;
    EXPECT_EQ(position(*source), target + static_cast<long long>(read.size()));
  }
}

TEST_P(SourceContract, SeekingToOrBeyondTheEndMeetsTheEndAndTheWayBackIsOpen) {
  const Bytes bytes = testBytes(3000);
  const auto source = open(bytes);
  if (onlyRefusesToSeek(*source)) {
    return;
  }
  for (const long long target : {3000LL, 3001LL, 1000000LL, 0x100000000LL}) {
    ASSERT_EQ(source->seek(target), 0) << target;
    EXPECT_EQ(position(*source), target);
    for (int i = 0; i < 2; ++i) {
      unsigned char byte = guard;
      unsigned int got = UINT_MAX;
      EXPECT_EQ(source->read(&byte, 1, got), 0) << target;
      EXPECT_EQ(got, 0U) << target;
    }
    ASSERT_EQ(source->seek(2990), 0);
    const Bytes read = readUpTo(*source, 100, 100);
    ASSERT_EQ(read.size(), 10U);
    EXPECT_TRUE(read == slice(bytes, 2990, 10));
  }
}

TEST_P(SourceContract, ANegativeSeekIsRefusedAndThePositionStays) {
  const Bytes bytes = testBytes(3000);
  const auto source = open(bytes);
  if (onlyRefusesToSeek(*source)) {
    return;
  }
  ASSERT_EQ(readUpTo(*source, 100, 100).size(), 100U);
  for (const long long target : {-1LL, -100LL, LLONG_MIN}) {
    EXPECT_LT(source->seek(target), 0) << target;
    EXPECT_EQ(position(*source), 100) << target;
  }
  const Bytes read = readUpTo(*source, 100, 100);
  ASSERT_EQ(read.size(), 100U);
  EXPECT_TRUE(read == slice(bytes, 100, 100));
}

TEST_P(SourceContract, SeekCostsNothing) {
  const auto source = open(testBytes(200000));
  if (onlyRefusesToSeek(*source)) {
    return;
  }
  const UrlCost before = source->cost();
  for (const long long target : {150000LL, 0LL, 200000LL, 300000LL, 10LL}) {
    ASSERT_EQ(source->seek(target), 0);
  }
  const UrlCost after = source->cost();
  EXPECT_EQ(after.bytes, before.bytes);
  EXPECT_EQ(after.reads, before.reads);
  EXPECT_EQ(after.requests, before.requests);
}

TEST_P(SourceContract, ACountingSourceCountsAtLeastWhatItDelivered) {
  const Bytes bytes = testBytes(100000);
  const auto source = open(bytes);
  readUpTo(*source, bytes.size(), 4096);
  const UrlCost cost = source->cost();
  if (cost.reads == 0) {
    EXPECT_EQ(cost.bytes, 0U);
    EXPECT_EQ(cost.requests, 0U);
  } else {
    EXPECT_GE(cost.bytes, bytes.size());
  }
}

TEST_P(SourceContract, SourcesSideBySideDoNotDisturbEachOther) {
  const Bytes firstBytes = testBytes(30000, 1);
  const Bytes secondBytes = testBytes(20000, 2);
  const auto first = open(firstBytes);
  const auto second = open(secondBytes);
  Bytes fromFirst;
  Bytes fromSecond;
  for (int i = 0; i < 40; ++i) {
    const Bytes a = readUpTo(*first, 1000, 1000);
    const Bytes b = readUpTo(*second, 700, 700);
    fromFirst.insert(fromFirst.end(), a.begin(), a.end());
    fromSecond.insert(fromSecond.end(), b.begin(), b.end());
  }
  EXPECT_TRUE(fromFirst == firstBytes);
  EXPECT_TRUE(fromSecond == secondBytes);
}

TEST_P(SourceContract, AnySequenceOfReadsAndSeeksAgreesWithTheBytes) {
  const Bytes bytes = testBytes(120000);
  const auto size = static_cast<long long>(bytes.size());
  std::mt19937 random(20240517);  // NOLINT(cert-msc51-cpp): a failure has to come back
  const auto below = [&random](unsigned int limit) { return static_cast<long long>(random() % limit); };
  const auto source = open(bytes);
  long long expected = 0;
  for (int step = 0; step < 300; ++step) {
    if (below(3) == 0) {
      const long long target = below(static_cast<unsigned int>(size) + 100);
      const int status = source->seek(target);
      EXPECT_EQ(status == 0, GetParam().seekable);
      expected = status == 0 ? target : expected;
    } else {
      const auto length = static_cast<size_t>(below(below(10) == 0 ? 30000 : 600));
      const Bytes read = readUpTo(*source, length, 4096);
      const auto left = static_cast<size_t>(std::max(0LL, size - expected));
      ASSERT_EQ(read.size(), std::min(length, left)) << "step " << step;
      ASSERT_TRUE(read == slice(bytes, expected, length)) << "step " << step;
      expected += static_cast<long long>(read.size());
    }
    ASSERT_EQ(position(*source), expected) << "step " << step;
  }
}

}  // namespace quorin_test
