#include "tcnv.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr uint32_t replacementCharacter = 0xFFFD;

/// The bytes of one UTF-8 sequence.
struct Sequence {
  std::array<char, 4> bytes;
  size_t length;
};

Sequence encoded(uint32_t codePoint) {
  const auto tail = [codePoint](int shift) { return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F)); };
  if (codePoint < 0x80) {
    return {{static_cast<char>(codePoint)}, 1};
  }
  if (codePoint < 0x800) {
    return {{static_cast<char>(0xC0 | (codePoint >> 6)), tail(0)}, 2};
  }
  if (codePoint < 0x10000) {
    return {{static_cast<char>(0xE0 | (codePoint >> 12)), tail(6), tail(0)}, 3};
  }
  return {{static_cast<char>(0xF0 | (codePoint >> 18)), tail(12), tail(6), tail(0)}, 4};
}

/// The destination: whole sequences as long as they fit before the terminator.
class Writer {
 public:
  Writer(char* dest, int destLength)
      : dest_(dest), room_(dest == nullptr || destLength <= 0 ? 0 : static_cast<size_t>(destLength) - 1) {
    if (dest != nullptr && destLength > 0) {
      dest_[0] = '\0';
    }
  }

  /// @return false, with nothing written, when the sequence does not fit
  bool put(const char* bytes, size_t length) {
    if (length > room_ - written_) {
      return false;
    }
    std::memcpy(dest_ + written_, bytes, length);
    written_ += length;
    dest_[written_] = '\0';
    return true;
  }

  bool put(uint32_t codePoint) {
    const Sequence sequence = encoded(codePoint);
    return put(sequence.bytes.data(), sequence.length);
  }

  int written() const { return static_cast<int>(written_); }

 private:
  char* dest_;
  size_t room_;
  size_t written_ = 0;
};

size_t countOf(const unsigned char* source, int length) {
  return source == nullptr || length <= 0 ? 0 : static_cast<size_t>(length);
}

bool isHighSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

bool isLowSurrogate(uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// @param high, low which byte of a unit is the more and which the less significant
int utf16ToUtf8(char* dest, int destLength, const unsigned char* source, int units, size_t high, size_t low) {
  const auto unitAt = [=](size_t i) { return static_cast<uint32_t>(source[2 * i + high] << 8 | source[2 * i + low]); };
  Writer writer(dest, destLength);
  const size_t count = countOf(source, units);
  for (size_t i = 0; i < count; ++i) {
    uint32_t codePoint = unitAt(i);
    if (codePoint == 0) {
      break;
    }
    if (isHighSurrogate(codePoint) && i + 1 < count && isLowSurrogate(unitAt(i + 1))) {
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (unitAt(++i) - 0xDC00);
    } else if (isHighSurrogate(codePoint) || isLowSurrogate(codePoint)) {
      codePoint = replacementCharacter;
    }
    if (!writer.put(codePoint)) {
      break;
    }
  }
  return writer.written();
}

/// Length of the UTF-8 sequence at the front of `length` bytes; 1 when they begin with none.
size_t sequenceLength(const unsigned char* bytes, size_t length) {
  const unsigned char lead = bytes[0];
  size_t whole = 1;
  if (lead >= 0xC0 && lead < 0xF8) {
    whole = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  }
  for (size_t i = 1; i < whole; ++i) {
    if (i >= length || (bytes[i] & 0xC0) != 0x80) {
      return 1;
    }
  }
  return whole;
}

}  // namespace

int tcnv_isoToUtf8(int, char* dest, int destLength, const unsigned char* source, int sourceLength) {
  Writer writer(dest, destLength);
  const size_t count = countOf(source, sourceLength);
  for (size_t i = 0; i < count && source[i] != 0 && writer.put(source[i]); ++i) {
  }
  return writer.written();
}

int tcnvUtf8EncodeNotAlignedText(char* dest, int destLength, const unsigned char* source, int units) {
  return utf16ToUtf8(dest, destLength, source, units, 0, 1);
}

int tcnvUtf8EncodeNotAlignedInverseText(char* dest, int destLength, const unsigned char* source, int units) {
  return utf16ToUtf8(dest, destLength, source, units, 1, 0);
}

int tcnv_strlcpy(char* dest, int destLength, const unsigned char* source, int sourceLength) {
  Writer writer(dest, destLength);
  const size_t count = countOf(source, sourceLength);
  size_t i = 0;
  while (i < count && source[i] != 0) {
    const size_t length = sequenceLength(source + i, count - i);
    if (!writer.put(reinterpret_cast<const char*>(source + i), length)) {
      break;
    }
    i += length;
  }
  return writer.written();
}
