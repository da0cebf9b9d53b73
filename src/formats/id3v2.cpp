#include "formats/id3v2.h"

#include <algorithm>
#include <cstring>

#include "framework/byte_order.h"
#include "framework/log.h"
#include "tcnv.h"

namespace zu::md::common::quorin {

namespace {

constexpr unsigned char footerFlag = 0x10;
constexpr unsigned char syncSafeLimit = 0x80;

bool areSyncSafe(const unsigned char* bytes, unsigned length) {
  return std::all_of(bytes, bytes + length, [](unsigned char byte) { return byte < syncSafeLimit; });
}

enum Encoding : unsigned char { Iso8859 = 0, Utf16 = 1, Utf16BigEndian = 2, Utf8 = 3 };

/// A first byte above this begins the text itself.
constexpr unsigned char lastEncoding = 31;

void utf16AsUtf8(char* destination, int destinationLength, const unsigned char* text, int textLength,
                 bool bigEndianByDefault) {
  static constexpr int unitSize = 2;
  bool isBigEndian = bigEndianByDefault;
  if (textLength < unitSize) {
    textLength = 0;
  } else if ((text[0] == 0xfe && text[1] == 0xff) || (text[0] == 0xff && text[1] == 0xfe)) {
    isBigEndian = text[0] == 0xfe;
    text += unitSize;
    textLength -= unitSize;
  }
  if (isBigEndian) {
    tcnvUtf8EncodeNotAlignedText(destination, destinationLength, text, textLength / unitSize);
  } else {
    tcnvUtf8EncodeNotAlignedInverseText(destination, destinationLength, text, textLength / unitSize);
  }
}

}  // namespace

int isID3v2TagHeader(const unsigned char* header, unsigned& tagLength, unsigned& footerSize) {
  static const char* const name = "isID3v2Header";
  if (header == nullptr) {
    QUORIN_LOG(Error, "AnalyzerAudioMp3::%s() Argument buffer==NULL!\n", name);
    return 0;
  }
  if (std::memcmp(header, "ID3", 3) != 0 || header[3] == 0xff || header[4] == 0xff || !areSyncSafe(header + 6, 4)) {
    return 0;
  }
  unsigned tagSize = 0;
  decodeID3v2SyncSafeInteger(&tagSize, header + 6, 4);
  footerSize = (header[5] & footerFlag) != 0 ? id3v2HeaderSize : 0;
  tagLength = tagSize + id3v2HeaderSize + footerSize;
  QUORIN_LOG(Info,
             "AnalyzerAudioMp3::%s() found ID3v2 tag. headerSize: %u, tagSize: %u, footerSize: %u tagLength: %u\n",
             name, id3v2HeaderSize, tagSize, footerSize, tagLength);
  return 1;
}

void decodeID3v2SyncSafeInteger(unsigned* result, const unsigned char* bytes, unsigned char length) {
  static const char* const name = "decodeSyncSafeInteger";
  QUORIN_LOG(Debug, "AnalyzerAudioMp3::%s()\n", name);
  if (result == nullptr || bytes == nullptr) {
    QUORIN_LOG(Error, "%s(): wrong params\n", name);
    return;
  }
  *result = 0;
  if (length != 3 && length != 4) {
    QUORIN_LOG(Error, "%s(): invalid len %u\n", name, static_cast<unsigned>(length));
    return;
  }
  // Taggers exist that write plain numbers where the standard wants sync-safe ones: the bytes decide.
  const unsigned bitsPerByte = areSyncSafe(bytes, length) ? 7 : 8;
  for (unsigned i = 0; i < length; ++i) {
    *result = *result << bitsPerByte | bytes[i];
  }
}

uint32_t Id3v2FrameLayout::bodySize(const unsigned char* frameHeader) const {
  if (isShort()) {
    return bigEndian24(frameHeader + 3);
  }
  if (majorVersion_ == 3) {
    // Never sync-safe in this version, so the bytes do not decide here.
    return bigEndian32(frameHeader + 4);
  }
  unsigned size = 0;
  decodeID3v2SyncSafeInteger(&size, frameHeader + 4, 4);
  return size;
}

bool Id3v2FrameLayout::isIdentifier(const unsigned char* frameHeader, const char* identifier) const {
  return std::strlen(identifier) == identifierSize() && std::memcmp(frameHeader, identifier, identifierSize()) == 0;
}

void id3v2TextAsUtf8(char* destination, int destinationLength, const unsigned char* source, int sourceLength) {
  static const char* const name = "getStringAsUtf8";
  if (destination == nullptr) {
    QUORIN_LOG(Error, "%s(): invalid dest given\n", name);
    return;
  }
  if (destinationLength == 0) {
    // The one byte that says "empty" is written all the same: every caller's buffer has it.
    QUORIN_LOG(Error, "%s(): invalid destLen given\n", name);
    *destination = '\0';
    return;
  }
  if (source == nullptr) {
    QUORIN_LOG(Error, "%s(): invalid src given\n", name);
    *destination = '\0';
    return;
  }
  if (sourceLength == 0) {
    QUORIN_LOG(Error, "%s(): invalid len given\n", name);
    *destination = '\0';
    return;
  }
  if (sourceLength < 2 || source[0] > lastEncoding) {
    tcnv_isoToUtf8(1, destination, destinationLength, source, sourceLength);
    return;
  }
  const unsigned char* const text = source + 1;
  const int textLength = sourceLength - 1;
  switch (source[0]) {
    case Iso8859:
      tcnv_isoToUtf8(1, destination, destinationLength, text, textLength);
      return;
    case Utf16:
    case Utf16BigEndian:
      utf16AsUtf8(destination, destinationLength, text, textLength, source[0] == Utf16BigEndian);
      return;
    default:
      QUORIN_LOG(Info, "%s(): unknown encoding 0x%02x, just copying...\n", name, static_cast<unsigned>(source[0]));
      [[fallthrough]];
    case Utf8:
      tcnv_strlcpy(destination, destinationLength, text, textLength);
      return;
  }
}

}  // namespace zu::md::common::quorin
