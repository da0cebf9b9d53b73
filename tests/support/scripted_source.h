#pragma once

#include <boost/shared_ptr.hpp>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "md/url.h"

namespace quorin_test {

using Bytes = std::vector<unsigned char>;

/// How a scripted source behaves. The faults are negative codes; numbers of calls count from 1.
struct SourceScript {
  Bytes bytes;
  bool seekable = true;
  bool sizeKnown = true;
  long long declaredSize = -1;                 ///< what `size` says instead of the truth; -1 for the truth
  unsigned int maxRead = 0;                    ///< most bytes per read; 0 for no limit
  std::map<int, int> readFaults;               ///< n-th read -> its failure
  std::map<int, unsigned int> readFaultBytes;  ///< n-th failing read -> bytes it delivers before it fails
  std::map<int, int> seekFaults;               ///< n-th seek -> its failure
  long long failingOffset = -1;                ///< reads that reach this offset deliver what is before it, then fail
  int failingOffsetCode = -5;
  int sizeFault = 0;                    ///< failure of every `size`
  int seekableFault = 0;                ///< failure of every `getSeekable`
  int tellFault = 0;                    ///< failure of every `tell`
  std::map<int, int> sizeFaults;        ///< n-th `size` -> its failure
  std::map<int, int> seekableFaults;    ///< n-th `getSeekable` -> its failure
  std::map<int, int> tellFaults;        ///< n-th `tell` -> its failure
  std::map<int, int> headerListFaults;  ///< n-th `getHeaderList` of a source that has one -> its failure
};

/// Calls that a source has seen.
struct SourceCalls {
  int reads = 0;
  int seeks = 0;
  int sizes = 0;
  int tells = 0;
  int seekables = 0;
  int headerLists = 0;
  unsigned long long bytes = 0;
  std::vector<unsigned int> readLengths;  ///< what each read asked for
  std::vector<long long> readOffsets;     ///< where each read began
  std::vector<long long> seekTargets;

  /// Makes room, so that this many calls of each kind are counted without allocating.
  void reserve(size_t count);
};

/// A source that keeps the contract of MdchUrlBase, delivers bytes from memory and fails where its script says so.
class ScriptedSource : public MdchUrlBase {
 public:
  explicit ScriptedSource(SourceScript script);
  ~ScriptedSource() override;

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;
  UrlCost cost() const override;

  SourceScript script;  ///< may be changed between calls
  SourceCalls calls;

 private:
  long long position_ = 0;
};

/// The same with a response header.
class ScriptedHttpSource : public md::HttpAccess {
 public:
  ScriptedHttpSource(SourceScript script, std::deque<std::string> headerLines, int headerFault = 0);
  ~ScriptedHttpSource() override;

  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override;
  int seek(long long offset) override;
  int tell(long long& offset) override;
  int size(long long& bytes) override;
  int getSeekable(bool& seekable) override;
  UrlCost cost() const override;
  int getHeaderList(std::deque<std::string>& lines) override;

  ScriptedSource source;
  std::deque<std::string> headerLines;
  int headerFault;  ///< failure of every `getHeaderList`
};

/// Registers a scheme for as long as it lives and counts what is opened through it.
class ScriptedScheme {
 public:
  /// What opening an item of the scheme answers.
  struct Answer {
    int code = 0;
    boost::shared_ptr<MdchUrlBase> source;
  };
  using Opener = std::function<Answer(const std::string& uri)>;

  ScriptedScheme(std::string scheme, Opener opener);
  /// Every URI of the scheme opens a fresh source with this script.
  ScriptedScheme(std::string scheme, SourceScript script);
  ~ScriptedScheme();
  ScriptedScheme(const ScriptedScheme&) = delete;
  ScriptedScheme& operator=(const ScriptedScheme&) = delete;

  std::vector<std::string> opened;  ///< URIs in order
  struct Params {
    std::string texts[5];
    bool given[5];
    MdchOpenParams raw;
  };
  std::vector<Params> params;  ///< what each opening was given

 private:
  std::string scheme_;
};

}  // namespace quorin_test
