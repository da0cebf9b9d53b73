#pragma once

/// @file
/// The contract of MdchUrlBase as one suite for every byte source.
///
/// A source joins by telling how it is opened:
/// @code
///   class FileSources : public SourceFactory {
///    public:
///     boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) override {
///       folder_.write("item", bytes);
///       ...  // mdch_OpenUrl
///     }
///    private:
///     TemporaryFolder folder_;  // lives as long as the test
///   };
///
///   INSTANTIATE_TEST_SUITE_P(File, SourceContract,
///                            testing::Values(SourceKind{"Regular", true, true, makeFactory<FileSources>}),
///                            sourceKindName);
/// @endcode

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <memory>
#include <string>

#include "md/url.h"
#include "support/scripted_source.h"

namespace quorin_test {

/// Opens sources of one kind. Made anew for each test and destroyed after its sources, so it may own what they need:
/// a folder, a server.
class SourceFactory {
 public:
  virtual ~SourceFactory() = default;

  /// Opens a source that holds exactly `bytes`: none, one, or some hundred thousand. May be called several times in
  /// one test; the sources are then open side by side. Null when that cannot be done, which fails the test.
  virtual boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes) = 0;
};

/// One row of the suite.
struct SourceKind {
  std::string name;  ///< letters and digits; part of the test names
  bool seekable;     ///< what the sources say of themselves, and keep
  bool sizeKnown;
  std::function<std::unique_ptr<SourceFactory>()> makeFactory;
};

template <typename Factory>
std::unique_ptr<SourceFactory> makeFactory() {
  return std::make_unique<Factory>();
}

inline std::string sourceKindName(const testing::TestParamInfo<SourceKind>& kind) { return kind.param.name; }

inline void PrintTo(const SourceKind& kind, std::ostream* out) { *out << kind.name; }

/// The tests are in source_contract.cpp.
class SourceContract : public testing::TestWithParam<SourceKind> {
 protected:
  boost::shared_ptr<MdchUrlBase> open(const Bytes& bytes);

  /// Reads until `length` bytes are there or the stream ends; fails the test when a read fails or delivers more than
  /// it was asked for.
  static Bytes readUpTo(MdchUrlBase& source, size_t length, unsigned int perRead);

  /// The position that the source tells.
  static long long position(MdchUrlBase& source);

  /// For tests of seeking: true for a fresh source that cannot seek, which has nothing to show but that it refuses.
  static bool onlyRefusesToSeek(MdchUrlBase& source);

 private:
  std::unique_ptr<SourceFactory> factory_;
};

}  // namespace quorin_test
