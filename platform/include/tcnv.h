#pragma once

/// @file
/// Character conversion to UTF-8.
///
/// All functions write at most `destLength` bytes with the terminating NUL included, always terminate, never
/// split a UTF-8 sequence at the end of the destination, and stop at a NUL in the source. They return the number
/// of bytes written without the terminator; 0, with nothing written, when there is no room for the terminator.
/// They keep nothing between calls, so any thread may call them.

#include "md/export.h"

/// ISO-8859-1 to UTF-8.
/// @param mode has no meaning on the host
/// @param dest receives the text; null counts as no room
/// @param destLength bytes of `dest`
/// @param source null counts as an empty text
/// @param sourceLength bytes of `source`
/// @return bytes written without the terminator
MD_API int tcnv_isoToUtf8(int mode, char* dest, int destLength, const unsigned char* source, int sourceLength);

/// Big-endian UTF-16 (RFC 2781) at any alignment to UTF-8. Lone surrogates become U+FFFD.
/// @param dest receives the text; null counts as no room
/// @param destLength bytes of `dest`
/// @param source without a byte order mark; null counts as an empty text
/// @param units 16-bit units of `source`
/// @return bytes written without the terminator
MD_API int tcnvUtf8EncodeNotAlignedText(char* dest, int destLength, const unsigned char* source, int units);

/// Little-endian UTF-16 at any alignment to UTF-8, otherwise as above.
/// @param dest receives the text; null counts as no room
/// @param destLength bytes of `dest`
/// @param source without a byte order mark; null counts as an empty text
/// @param units 16-bit units of `source`
/// @return bytes written without the terminator
MD_API int tcnvUtf8EncodeNotAlignedInverseText(char* dest, int destLength, const unsigned char* source, int units);

/// Copies UTF-8 text (RFC 3629). Bytes that are no valid UTF-8 are copied as they are.
/// @param dest receives the text; null counts as no room
/// @param destLength bytes of `dest`
/// @param source null counts as an empty text
/// @param sourceLength bytes of `source`
/// @return bytes written without the terminator
MD_API int tcnv_strlcpy(char* dest, int destLength, const unsigned char* source, int sourceLength);
