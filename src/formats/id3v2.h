#pragma once

#include <cstdint>

/// @file
/// Pieces of ID3v2 tags (id3.org: ID3v2.2, ID3v2.3, ID3v2.4).

namespace zu::md::common::quorin {

constexpr unsigned id3v2HeaderSize = 10;  // bytes, of the tag header and of the footer

/// Documented as Analyzer::isID3v2Header and Analyzer::decodeSyncSafeInteger.
int isID3v2TagHeader(const unsigned char* header, unsigned& tagLength, unsigned& footerSize);
void decodeID3v2SyncSafeInteger(unsigned* result, const unsigned char* bytes, unsigned char length);

/// Converts a text field, whose first byte is the text encoding, to UTF-8.
/// @param destination receives the text, always terminated
/// @param destinationLength bytes, the terminator included
void id3v2TextAsUtf8(char* destination, int destinationLength, const unsigned char* source, int sourceLength);

/// How a frame begins, which depends on the major version of the tag.
class Id3v2FrameLayout {
 public:
  static constexpr unsigned maxHeaderSize = 10;  // bytes

  explicit Id3v2FrameLayout(unsigned majorVersion) : majorVersion_(majorVersion) {}

  unsigned headerSize() const { return isShort() ? 6 : maxHeaderSize; }
  unsigned identifierSize() const { return isShort() ? 3 : 4; }

  /// Size of the frame's body in bytes.
  uint32_t bodySize(const unsigned char* frameHeader) const;

  /// Whether the identifier is exactly this one.
  bool isIdentifier(const unsigned char* frameHeader, const char* identifier) const;

 private:
  bool isShort() const { return majorVersion_ < 3; }

  unsigned majorVersion_;
};

}  // namespace zu::md::common::quorin
