#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "support/scripted_source.h"

/// @file
/// Pieces of byte strings, from which the builders of media bytes put their formats together.

namespace quorin_test {

/// The pieces one behind the other.
Bytes concat(std::initializer_list<Bytes> pieces);

/// `count` times `piece`.
Bytes repeat(const Bytes& piece, size_t count);

/// `count` bytes of one value; zero looks like no sync, tag or marker of any format.
Bytes filler(size_t count, unsigned char value = 0);

/// The characters without a terminator.
Bytes text(std::string_view characters);

/// The same the other way round.
std::string textOf(const Bytes& bytes);

/// `count` reproducible bytes below 0x80, none of them zero, so that neither a sync nor a terminator is among them.
Bytes noise(size_t count, uint32_t seed = 1);

/// `count` bytes of every value that do not repeat within any test, so that a byte of another place is noticed. The
/// same seed gives the same bytes, also for another count.
Bytes testBytes(size_t count, unsigned int seed = 1);

/// `value` in `count` bytes, most significant first.
Bytes bigEndian(uint64_t value, unsigned count);

/// `value` in `count` bytes, least significant first.
Bytes littleEndian(uint64_t value, unsigned count);

/// `value` seven bits per byte, most significant first.
Bytes syncSafe(uint32_t value, unsigned count = 4);

/// `target` with `piece` written over it from `offset` on; grows when it is too short.
Bytes overlay(Bytes target, size_t offset, const Bytes& piece);

/// The first `count` bytes.
Bytes head(const Bytes& bytes, size_t count);

/// The bytes [offset, offset + length) as far as there are any.
Bytes slice(const Bytes& bytes, long long offset, size_t length);

}  // namespace quorin_test
