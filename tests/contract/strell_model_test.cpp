// Long random use of Strell, compared with a model that knows all bytes. The seeds are fixed: a failure comes back.

#include <algorithm>
#include <climits>
#include <optional>
#include <random>

#include "strell_contract.h"
#include "support/bytes.h"

namespace quorin_test {
namespace {

constexpr long long regionCapacity = 65536;

/// What Strell promises over a source without failures, computed from the whole stream.
class StrellModel {
 public:
  StrellModel(const StrellKind& kind, const Bytes& audio) : kind_(kind), audio_(audio), size_(size(audio)) {}

  int setDataCacheOffset(unsigned int offset) {
    cacheOffset = offset;
    held_ = cached(0);
    return held_ ? 0 : strell::OFFSET_NOT_CACHED;
  }

  CacheRead readDataCache(unsigned int length) {
    if (!held_ || !cached(length)) {
      return {held_ ? strell::NOT_CACHED : strell::OFFSET_NOT_CACHED, true, Bytes()};
    }
    CacheRead read{0, false, slice(audio_, cacheOffset, length)};
    cacheOffset += length;
    return read;
  }

  DataRead readData(unsigned int length) {
    DataRead read;
    read.bytes = slice(audio_, readOffset, length);
    const long long begin = icyDone_;
    readOffset += size(read.bytes);
    if (length != 0) {
      const bool passesEnd = read.bytes.size() < length;
      read.status = read.bytes.empty() ? strell::END_OF_STREAM : 0;
      icyDone_ = passesEnd ? readOffset + 1 : readOffset;
      read.icy = icyBetween(begin, icyDone_ - 1, kind_.metaint);
    }
    return read;
  }

  int seek(long long offset) {
    if (!kind_.canSeek()) {
      return strell::NOT_SEEKABLE;
    }
    if (offset < 0 || offset > size_) {
      return strell::OUT_OF_RANGE;
    }
    readOffset = offset;
    region_ = offset;
    cacheOffset = static_cast<unsigned int>(offset);
    held_ = true;
    return 0;
  }

  /// Most bytes that a peek may show.
  long long mostAtHand() const { return held_ ? std::max(0LL, size_ - cacheOffset) : 0; }

  unsigned int cacheOffset = 0;
  long long readOffset = 0;

 private:
  static long long size(const Bytes& bytes) { return static_cast<long long>(bytes.size()); }

  bool cached(unsigned int length) const {
    const long long end = static_cast<long long>(cacheOffset) + length;
    const bool inHead = end <= std::min<long long>(kind_.head(), size_);
    const bool inRegion = region_ && cacheOffset >= *region_ && end <= std::min(*region_ + regionCapacity, size_);
    return inHead || inRegion;
  }

  const StrellKind& kind_;
  const Bytes& audio_;
  long long size_;
  bool held_ = true;
  std::optional<long long> region_;
  long long icyDone_ = 0;  ///< blocks before this offset were handed out
};

/// Offsets and lengths as uses have them: mostly small, often at a boundary, now and then absurd.
class Random {
 public:
  explicit Random(unsigned int seed) : engine_(seed) {}

  long long below(long long limit) {
    return static_cast<long long>(engine_() % static_cast<unsigned long long>(limit));
  }

  long long offset(long long size) {
    static constexpr long long boundaries[] = {0, 4096, 8192, 65536, 131072, 1048576};
    switch (below(4)) {
      case 0:
        return boundaries[below(6)] + below(5) - 2;
      case 1:
        return size + below(5) - 2;
      default:
        return below(size + 2);
    }
  }

  unsigned int length() {
    static constexpr long long limits[] = {3, 20, 300, 5000, 9000, 70000};
    return below(200) == 0 ? UINT_MAX - static_cast<unsigned int>(below(3))
                           : static_cast<unsigned int>(below(limits[below(6)]));
  }

 private:
  std::mt19937_64 engine_;
};

class StrellRandomUse : public StrellContract {
 protected:
  void run(const Bytes& audio, const SourceScript& script, unsigned int seed, int steps);
  void step(Attached& attached, StrellModel& model, const Bytes& audio, Random& random);
};

void StrellRandomUse::step(Attached& attached, StrellModel& model, const Bytes& audio, Random& random) {
  strell::Strell& media = attached.media;
  const auto size = static_cast<long long>(audio.size());
  switch (random.below(9)) {
    case 0: {
      const long long target = random.offset(size);
      ASSERT_EQ(media.seek(target), model.seek(target)) << target;
      break;
    }
    case 1:
    case 2: {
      const auto offset = static_cast<unsigned int>(std::max(0LL, random.offset(size)));
      ASSERT_EQ(media.setDataCacheOffset(offset), model.setDataCacheOffset(offset)) << offset;
      break;
    }
    case 3:
    case 4:
    case 5: {
      const unsigned int length = random.length();
      const CacheRead read = readCache(media, length);
      const CacheRead expected = model.readDataCache(length);
      ASSERT_EQ(read.status, expected.status) << length;
      ASSERT_TRUE(read.bytes == expected.bytes) << length;
      break;
    }
    case 6: {
      const int reads = attached.source->calls.reads;
      unsigned int atHand = 0;
      const unsigned char* data = media.peekDataCache(atHand);
      ASSERT_EQ(data == nullptr, atHand == 0);
      ASSERT_LE(atHand, model.mostAtHand());
      ASSERT_TRUE(Bytes(data, data + atHand) == slice(audio, media.getDataCacheOffset(), atHand));
      ASSERT_EQ(attached.source->calls.reads, reads);
      break;
    }
    default: {
      const unsigned int length = std::min(random.length(), 100000U);
      const DataRead read = readData(media, length);
      const DataRead expected = model.readData(length);
      ASSERT_EQ(read.status, expected.status) << length;
      ASSERT_TRUE(read.bytes == expected.bytes) << length;
      ASSERT_EQ(read.icy, expected.icy) << length;
      break;
    }
  }
}

void StrellRandomUse::run(const Bytes& audio, const SourceScript& script, unsigned int seed, int steps) {
  const auto attached = attach(script);
  StrellModel model(GetParam(), audio);
  Random random(seed);
  for (int i = 0; i < steps; ++i) {
    step(*attached, model, audio, random);
    if (HasFatalFailure()) {
      FAIL() << "size " << audio.size() << ", seed " << seed << ", step " << i;
    }
    ASSERT_EQ(tell(attached->media), model.readOffset);
    ASSERT_EQ(attached->media.getDataCacheOffset(), model.cacheOffset);
  }
}

TEST_P(StrellRandomUse, AgreesWithTheModel) {
  unsigned int seed = 1;
  for (const size_t size : {0U, 1U, 100U, 4096U, 10000U, 65537U, 300000U, 1100000U}) {
    const Bytes audio = testBytes(size);
    const SourceScript script = scriptOf(audio);
    for (int round = 0; round < 2; ++round) {
      ASSERT_NO_FATAL_FAILURE(run(audio, script, seed++, 150));
    }
  }
}

TEST_P(StrellRandomUse, UnderFailuresNoWrongByteIsEverDelivered) {
  const Bytes audio = testBytes(200000);
  const SourceScript script = scriptOf(audio);
  for (unsigned int seed = 1; seed <= 10; ++seed) {
    const auto attached = attach(script);
    Random random(seed);
    long long expectedOffset = 0;
    for (int i = 0; i < 200; ++i) {
      // The next read fails after a few bytes, the next seek fails, or nothing does.
      SourceScript& faults = attached->source->script;
      const SourceCalls& calls = attached->source->calls;
      if (random.below(3) == 0) {
        faults.readFaults[calls.reads + 1] = -5;
        faults.readFaultBytes[calls.reads + 1] = static_cast<unsigned int>(random.below(50));
      } else if (random.below(5) == 0) {
        faults.seekFaults[calls.seeks + 1] = -6;
      }
      switch (random.below(3)) {
        case 0: {
          const long long target = random.offset(200000);
          const int status = attached->media.seek(target);
          expectedOffset = status == 0 ? target : expectedOffset;
          break;
        }
        case 1: {
          const auto offset = static_cast<unsigned int>(std::max(0LL, random.offset(200000)));
          const unsigned int length = random.length();
          const CacheRead read = readCacheAt(attached->media, offset, length);
          ASSERT_TRUE(read.null || read.bytes == slice(audio, offset, length));
          break;
        }
        default: {
          const unsigned int length = std::min(random.length(), 100000U);
          const DataRead read = readData(attached->media, length);
          ASSERT_TRUE(read.bytes == slice(audio, expectedOffset, read.bytes.size()));
          const bool complete = read.bytes.size() == slice(audio, expectedOffset, length).size();
          ASSERT_TRUE(complete || read.status == -5 || read.status == -6) << read.status;
          expectedOffset += static_cast<long long>(read.bytes.size());
          break;
        }
      }
      ASSERT_EQ(tell(attached->media), expectedOffset);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Strell, StrellRandomUse, testing::ValuesIn(strellKinds()), strellKindName);

}  // namespace
}  // namespace quorin_test
