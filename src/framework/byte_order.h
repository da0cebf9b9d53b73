#pragma once

#include <cstdint>
#include <cstring>

/// @file
/// Numbers as they stand in a stream. Pure; the caller has made sure that the bytes are there.

namespace zu::md::common::quorin {

constexpr uint16_t bigEndian16(const unsigned char* bytes) { return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]); }

constexpr uint32_t bigEndian24(const unsigned char* bytes) {
  return static_cast<uint32_t>(bytes[0]) << 16 | static_cast<uint32_t>(bytes[1]) << 8 | bytes[2];
}

constexpr uint32_t bigEndian32(const unsigned char* bytes) {
  return static_cast<uint32_t>(bytes[0]) << 24 | bigEndian24(bytes + 1);
}

constexpr uint16_t littleEndian16(const unsigned char* bytes) {
  return static_cast<uint16_t>(bytes[1] << 8 | bytes[0]);
}

constexpr uint32_t littleEndian32(const unsigned char* bytes) {
  return static_cast<uint32_t>(littleEndian16(bytes + 2)) << 16 | littleEndian16(bytes);
}

/// Whether `bytes` begin with the characters of `text`.
template <size_t size>
bool startsWith(const unsigned char* bytes, const char (&text)[size]) {
  return std::memcmp(bytes, text, size - 1) == 0;
}

/// The `width` bits (1 to 8) of `byte` that begin at bit `lowest` (0 is the least significant).
constexpr unsigned bitField(unsigned char byte, unsigned lowest, unsigned width) {
  return (static_cast<unsigned>(byte) >> lowest) & ((1U << width) - 1U);
}

}  // namespace zu::md::common::quorin
