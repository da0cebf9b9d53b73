#include "support/test_bytes.h"

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

}  // namespace quorin_test
