#pragma once

/// @file
/// Character conversion to UTF-8.
///
/// All functions write at most `destLength` bytes with the terminating NUL included, always terminate, never
/// split a UTF-8 sequence at the end of the destination, and stop at a NUL in the source. They return the number
/// of bytes written without the terminator; 0, with nothing written, when there is no room for the terminator.

#include "md/export.h"

/// ISO-8859-1 to UTF-8. `mode` has no meaning on the host.
MD_API int tcnv_isoToUtf8(int mode, char* dest, int destLength, const unsigned char* source, int sourceLength);

/// Big-endian UTF-16 at any alignment to UTF-8; `units` counts 16-bit units. Lone surrogates become U+FFFD.
MD_API int tcnvUtf8EncodeNotAlignedText(char* dest, int destLength, const unsigned char* source, int units);

/// Little-endian UTF-16 at any alignment to UTF-8, otherwise as above.
MD_API int tcnvUtf8EncodeNotAlignedInverseText(char* dest, int destLength, const unsigned char* source, int units);

/// Copies UTF-8 text. Bytes that are no valid UTF-8 are copied as they are.
MD_API int tcnv_strlcpy(char* dest, int destLength, const unsigned char* source, int sourceLength);
