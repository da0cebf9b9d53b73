#include "strell_support.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace quorin_test {

namespace {

constexpr unsigned char guard = 0xA5;
constexpr unsigned int guardLength = 16;

}  // namespace

DataRead readData(strell::Strell& media, unsigned int length) {
  Bytes buffer(static_cast<size_t>(length) + guardLength, guard);
  unsigned int got = ~0U;
  std::vector<strell::IcyData> icy{{-1, "appended to"}};
  DataRead read;
  read.status = media.readData(buffer.data(), length, got, icy);
  if (got > length) {
    ADD_FAILURE() << "delivered " << got << " bytes of " << length;
    return read;
  }
  EXPECT_TRUE(std::all_of(buffer.begin() + length, buffer.end(), [](unsigned char byte) { return byte == guard; }));
  buffer.resize(got);
  read.bytes = std::move(buffer);
  EXPECT_EQ(icy.front().offset, -1);
  for (size_t i = 1; i < icy.size(); ++i) {
    read.icy.emplace_back(icy[i].offset, icy[i].text);
  }
  return read;
}

CacheRead readCache(strell::Strell& media, unsigned int length) {
  const unsigned int before = media.getDataCacheOffset();
  unsigned char untouched = 0;
  unsigned char* data = &untouched;
  CacheRead read;
  read.status = media.readDataCache(length, data);
  EXPECT_NE(data, &untouched);
  read.null = data == nullptr;
  EXPECT_EQ(read.null, read.status != 0);
  EXPECT_LE(read.status, 0);
  EXPECT_EQ(media.getDataCacheOffset(), before + (read.status == 0 ? length : 0));
  if (!read.null) {
    read.bytes.assign(data, data + length);
  }
  return read;
}

CacheRead readCacheAt(strell::Strell& media, unsigned int offset, unsigned int length) {
  const int status = media.setDataCacheOffset(offset);
  EXPECT_EQ(media.getDataCacheOffset(), offset);
  CacheRead read = readCache(media, length);
  if (status != 0) {
    EXPECT_TRUE(read.null) << "readable after a failed setDataCacheOffset";
  }
  return read;
}

long long tell(strell::Strell& media) {
  long long offset = -1;
  EXPECT_EQ(media.tell(offset), 0);
  return offset;
}

Attached::Attached(const SourceScript& script, unsigned int metaint) {
  if (metaint == 0) {
    source = boost::make_shared<ScriptedSource>(script);
    EXPECT_EQ(media.attach(source), 0);
  } else {
    const std::deque<std::string> lines{"HTTP/1.0 200 OK\r\n", "icy-metaint: " + std::to_string(metaint) + "\r\n"};
    const auto http = boost::make_shared<ScriptedHttpSource>(script, lines);
    source = boost::shared_ptr<ScriptedSource>(http, &http->source);
    EXPECT_EQ(media.attach(http), 0);
  }
}

}  // namespace quorin_test
