#include "support/scripted_source.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>

namespace quorin_test {

namespace {

constexpr int notSeekable = -29;
constexpr int badOffset = -22;
constexpr int sizeUnknown = -38;

/// @param every failure of every call, unless it is 0
int faultOf(const std::map<int, int>& faults, int call, int every = 0) {
  const auto found = faults.find(call);
  return found == faults.end() ? every : found->second;
}

}  // namespace

void SourceCalls::reserve(size_t count) {
  readLengths.reserve(count);
  readOffsets.reserve(count);
  seekTargets.reserve(count);
}

ScriptedSource::ScriptedSource(SourceScript s) : script(std::move(s)) {}

ScriptedSource::~ScriptedSource() = default;

int ScriptedSource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  ++calls.reads;
  calls.readLengths.push_back(length);
  calls.readOffsets.push_back(position_);
  const long long end = static_cast<long long>(script.bytes.size());
  long long count = std::min<long long>(length, std::max(0LL, end - position_));
  if (script.maxRead != 0) {
    count = std::min<long long>(count, script.maxRead);
  }
  int status = faultOf(script.readFaults, calls.reads);
  if (status != 0) {
    const auto before = script.readFaultBytes.find(calls.reads);
    count = before == script.readFaultBytes.end() ? 0 : std::min<long long>(count, before->second);
  } else if (script.failingOffset >= 0 && position_ + count > script.failingOffset) {
    count = std::max(0LL, script.failingOffset - position_);
    status = script.failingOffsetCode;
  }
  if (count > 0) {
    std::memcpy(buffer, script.bytes.data() + position_, static_cast<size_t>(count));
  }
  position_ += count;
  calls.bytes += static_cast<unsigned long long>(count);
  bytesRead = static_cast<unsigned int>(count);
  return status;
}

int ScriptedSource::seek(long long offset) {
  ++calls.seeks;
  calls.seekTargets.push_back(offset);
  if (!script.seekable) {
    return notSeekable;
  }
  if (offset < 0) {
    return badOffset;
  }
  const int status = faultOf(script.seekFaults, calls.seeks);
  if (status == 0) {
    position_ = offset;
  }
  return status;
}

int ScriptedSource::tell(long long& offset) {
  ++calls.tells;
  const int status = faultOf(script.tellFaults, calls.tells, script.tellFault);
  if (status == 0) {
    offset = position_;
  }
  return status;
}

int ScriptedSource::size(long long& bytes) {
  ++calls.sizes;
  if (const int status = faultOf(script.sizeFaults, calls.sizes, script.sizeFault); status != 0) {
    return status;
  }
  if (!script.sizeKnown) {
    return sizeUnknown;
  }
  bytes = script.declaredSize >= 0 ? script.declaredSize : static_cast<long long>(script.bytes.size());
  return 0;
}

int ScriptedSource::getSeekable(bool& seekable) {
  ++calls.seekables;
  const int status = faultOf(script.seekableFaults, calls.seekables, script.seekableFault);
  if (status == 0) {
    seekable = script.seekable;
  }
  return status;
}

UrlCost ScriptedSource::cost() const {
  UrlCost cost;
  cost.bytes = calls.bytes;
  cost.reads = static_cast<unsigned int>(calls.reads);
  return cost;
}

ScriptedHttpSource::ScriptedHttpSource(SourceScript script, std::deque<std::string> lines, int fault)
    : source(std::move(script)), headerLines(std::move(lines)), headerFault(fault) {}

ScriptedHttpSource::~ScriptedHttpSource() = default;

int ScriptedHttpSource::read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) {
  return source.read(buffer, length, bytesRead);
}

int ScriptedHttpSource::seek(long long offset) { return source.seek(offset); }

int ScriptedHttpSource::tell(long long& offset) { return source.tell(offset); }

int ScriptedHttpSource::size(long long& bytes) { return source.size(bytes); }

int ScriptedHttpSource::getSeekable(bool& seekable) { return source.getSeekable(seekable); }

UrlCost ScriptedHttpSource::cost() const { return source.cost(); }

int ScriptedHttpSource::getHeaderList(std::deque<std::string>& lines) {
  ++source.calls.headerLists;
  const int status = faultOf(source.script.headerListFaults, source.calls.headerLists, headerFault);
  if (status == 0) {
    lines = headerLines;
  }
  return status;
}

ScriptedScheme::ScriptedScheme(std::string scheme, Opener opener) : scheme_(std::move(scheme)) {
  md::registerUrlScheme(scheme_, [this, opener](const std::string& uri, const MdchOpenParams& given,
                                                boost::shared_ptr<MdchUrlBase>& url) {
    opened.push_back(uri);
    Params copy = {};
    copy.raw = given;
    const char* const texts[5] = {given.text0, given.text1, given.text2, given.text3, given.text4};
    for (int i = 0; i < 5; ++i) {
      copy.given[i] = texts[i] != nullptr;
      copy.texts[i] = copy.given[i] ? texts[i] : "";
    }
    params.push_back(copy);
    const Answer answer = opener(uri);
    if (answer.source) {
      url = answer.source;
    }
    return answer.code;
  });
}

ScriptedScheme::ScriptedScheme(std::string scheme, SourceScript script)
    : ScriptedScheme(std::move(scheme), [script](const std::string&) {
        return Answer{0, boost::make_shared<ScriptedSource>(script)};
      }) {}

ScriptedScheme::~ScriptedScheme() { md::registerUrlScheme(scheme_, md::UrlOpener()); }

}  // namespace quorin_test
