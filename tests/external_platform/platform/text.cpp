#include <cstdint>
#include <cstring>

#include "tcnv.h"

namespace {

constexpr uint32_t unknownCharacter = 0xFFFD;

/// Text under construction in the caller's memory.
struct Output {
  Output(char* memory, int length)
      : begin(memory), end(memory), last(memory == nullptr || length <= 0 ? nullptr : memory + length - 1) {
    if (last != nullptr) {
      *begin = '\0';
    }
  }

  /// Adds what belongs together. @return false when it does not fit, nothing is added then nor later
  bool add(const char* bytes, int count) {
    if (last == nullptr || last - end < count) {
      last = nullptr;
      return false;
    }
    std::memcpy(end, bytes, static_cast<size_t>(count));
    end += count;
    *end = '\0';
    return true;
  }

  bool addCharacter(uint32_t code) {
    char bytes[4];
    int count = 0;
    int shift = code < 0x80 ? 0 : code < 0x800 ? 6 : code < 0x10000 ? 12 : 18;
    static const unsigned char lead[] = {0, 0xC0, 0xE0, 0xF0};
    bytes[count++] = static_cast<char>(lead[shift / 6] | code >> shift);
    while (shift != 0) {
      shift -= 6;
      bytes[count++] = static_cast<char>(0x80 | (code >> shift & 0x3F));
    }
    return add(bytes, count);
  }

  int written() const { return static_cast<int>(end - begin); }

  char* begin;
  char* end;
  char* last;  ///< where the terminator goes at most; null when nothing more is to be added
};

bool isHigh(uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

bool isLow(uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// @param highByte which byte of a unit is the higher one
int fromUtf16(char* dest, int destLength, const unsigned char* source, int units, int highByte) {
  Output out(dest, destLength);
  uint32_t high = 0;  // a surrogate that waits for its other half
  for (int i = 0; source != nullptr && i < units; ++i) {
    const uint32_t unit = static_cast<uint32_t>(source[2 * i + highByte]) << 8 | source[2 * i + 1 - highByte];
    if (high != 0 && isLow(unit)) {
      out.addCharacter(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
      high = 0;
      continue;
    }
    if (high != 0) {
      out.addCharacter(unknownCharacter);
    }
    high = isHigh(unit) ? unit : 0;
    if (unit == 0) {
      return out.written();
    }
    if (high == 0) {
      out.addCharacter(isLow(unit) ? unknownCharacter : unit);
    }
  }
  if (high != 0) {
    out.addCharacter(unknownCharacter);
  }
  return out.written();
}

/// Bytes of the UTF-8 sequence at `text`, of which `left` are there; 1 for what is none.
int sequenceAt(const unsigned char* text, int left) {
  const int count = text[0] >= 0xF0 && text[0] < 0xF8   ? 4
                    : text[0] >= 0xE0 && text[0] < 0xF0 ? 3
                    : text[0] >= 0xC0 && text[0] < 0xE0 ? 2
                                                        : 1;
  for (int i = 1; i < count; ++i) {
    if (i >= left || (text[i] & 0xC0) != 0x80) {
      return 1;
    }
  }
  return count;
}

}  // namespace

int tcnv_isoToUtf8(int, char* dest, int destLength, const unsigned char* source, int sourceLength) {
  Output out(dest, destLength);
  for (int i = 0; source != nullptr && i < sourceLength && source[i] != 0 && out.addCharacter(source[i]); ++i) {
  }
  return out.written();
}

int tcnvUtf8EncodeNotAlignedText(char* dest, int destLength, const unsigned char* source, int units) {
  return fromUtf16(dest, destLength, source, units, 0);
}

int tcnvUtf8EncodeNotAlignedInverseText(char* dest, int destLength, const unsigned char* source, int units) {
  return fromUtf16(dest, destLength, source, units, 1);
}

int tcnv_strlcpy(char* dest, int destLength, const unsigned char* source, int sourceLength) {
  Output out(dest, destLength);
  int next = 0;
  while (source != nullptr && next < sourceLength && source[next] != 0) {
    const int count = sequenceAt(source + next, sourceLength - next);
    char bytes[4];
    std::memcpy(bytes, source + next, static_cast<size_t>(count));
    if (!out.add(bytes, count)) {
      break;
    }
    next += count;
  }
  return out.written();
}
