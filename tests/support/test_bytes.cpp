#include "support/test_bytes.h"

#include <algorithm>
#include <random>

namespace quorin_test {

Bytes testBytes(size_t count, unsigned int seed) {
  std::minstd_rand random(seed);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) {
    byte = static_cast<unsigned char>(random() >> 8);
  }
  return bytes;
}

Bytes slice(const Bytes& bytes, long long offset, size_t length) {
  const auto size = static_cast<long long>(bytes.size());
  const long long begin = std::min(offset, size);
  const long long end = std::min(size, begin + static_cast<long long>(length));
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end));
}

}  // namespace quorin_test
