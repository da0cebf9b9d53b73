#pragma once

#include <optional>
#include <string_view>

#include "support/bytes.h"

/// @file
/// ID3v1, ID3v2.2, ID3v2.3 and ID3v2.4 tags (id3.org), sound ones and damaged ones.

namespace quorin_test {

/// An ID3v2 tag around a body of frames and padding.
struct Id3v2Tag {
  unsigned char major = 3;
  unsigned char revision = 0;
  unsigned char flags = 0;               ///< 0x40 extended header, 0x10 footer (appended when set)
  std::optional<uint32_t> declaredSize;  ///< what the header says; without it the truth, which is the body's size

  Bytes around(const Bytes& body) const;
};

/// A frame with the header of tag version `major`.
/// @param declaredSize size field as it stands in the frame; without it the truth
Bytes id3v2Frame(unsigned major, std::string_view identifier, const Bytes& body,
                 std::optional<Bytes> declaredSize = std::nullopt);

/// The body of an "APIC" frame up to the picture data: ISO-8859-1, front cover.
Bytes apicPreface(std::string_view mimeType = "image/jpeg", std::string_view description = "cover");

/// The body of a "PIC" frame up to the picture data.
Bytes picPreface(std::string_view format = "JPG", std::string_view description = "cover");

/// A picture frame of tag version `major`: "PIC" in ID3v2.2, "APIC" later.
Bytes id3v2Picture(unsigned major, const Bytes& picture);

/// 128 bytes that begin with "TAG".
Bytes id3v1Tag(std::string_view title = "Opening");

}  // namespace quorin_test
