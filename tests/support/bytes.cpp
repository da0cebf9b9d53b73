#include "support/bytes.h"

#include <algorithm>
#include <random>

namespace quorin_test {

Bytes concat(std::initializer_list<Bytes> pieces) {
  Bytes all;
  for (const Bytes& piece : pieces) {
    all.insert(all.end(), piece.begin(), piece.end());
  }
  return all;
}

Bytes repeat(const Bytes& piece, size_t count) {
  Bytes all;
  all.reserve(piece.size() * count);
  for (size_t i = 0; i < count; ++i) {
    all.insert(all.end(), piece.begin(), piece.end());
  }
  return all;
}

Bytes filler(size_t count, unsigned char value) { return Bytes(count, value); }

Bytes text(std::string_view characters) { return Bytes(characters.begin(), characters.end()); }

std::string textOf(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

Bytes noise(size_t count, uint32_t seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(1 + random() % 0x7f); });
  return bytes;
}

Bytes testBytes(size_t count, unsigned int seed) {
  std::minstd_rand random(seed);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) {
    byte = static_cast<unsigned char>(random() >> 8);
  }
  return bytes;
}

Bytes bigEndian(uint64_t value, unsigned count) {
  Bytes bytes(count);
  for (unsigned i = 0; i < count; ++i) {
    bytes[i] = static_cast<unsigned char>(value >> (8 * (count - 1 - i)));
  }
  return bytes;
}

Bytes littleEndian(uint64_t value, unsigned count) {
  Bytes bytes(count);
  for (unsigned i = 0; i < count; ++i) {
    bytes[i] = static_cast<unsigned char>(value >> (8 * i));
  }
  return bytes;
}

Bytes syncSafe(uint32_t value, unsigned count) {
  Bytes bytes(count);
  for (unsigned i = 0; i < count; ++i) {
    bytes[i] = static_cast<unsigned char>((value >> (7 * (count - 1 - i))) & 0x7f);
  }
  return bytes;
}

Bytes overlay(Bytes target, size_t offset, const Bytes& piece) {
  target.resize(std::max(target.size(), offset + piece.size()));
  std::copy(piece.begin(), piece.end(), target.begin() + static_cast<std::ptrdiff_t>(offset));
  return target;
}

Bytes head(const Bytes& bytes, size_t count) {
  return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size())));
}

Bytes slice(const Bytes& bytes, long long offset, size_t length) {
  const auto size = static_cast<long long>(bytes.size());
  const long long begin = std::min(offset, size);
  const long long end = std::min(size, begin + static_cast<long long>(length));
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end));
}

}  // namespace quorin_test
