// Conversion between narrow text (bytes) and code points under five character sets.
//
// Nothing here reports an error: a character outside the set becomes '?' (except as the source
// says), malformed UTF-8 ends the decoding, and output beyond the capacity is cut.
//
// The tool uses DecodeText and EncodeText, and only UTF-8. The rest completes the interface.
//
// Requires, for every call: lengths and capacities are not negative.
#pragma once

#include <cstdint>

namespace Core {

// The sets. Any other id converts as UTF-8.
enum CodePage : uint32_t {
  kCodePageDefault = 0,  // the process-wide default: UTF-8 unless SelectCodePage changed it
  kCodePageUtf8 = 1,     // sequences of up to six bytes, so every 31-bit code point
  kCodePageLatin1 = 2,   // ISO-8859-1
  kCodePageLatin2 = 3,   // ISO-8859-2
  kCodePageWindows1252 = 4,
  kCodePageWindows1250 = 5,
};

// Decodes `length` bytes into at most `capacity` code points and returns their number. Capacity 0
// stores nothing and counts the code points of the whole source.
int32_t DecodeText(const char* source, int32_t length, int32_t* destination, int32_t capacity,
                   uint32_t codePage);

// Encodes `length` code points into at most `capacity` bytes and returns their number. Capacity 0
// stores nothing and counts the bytes of the whole source, to at most 2^31 - 1.
int32_t EncodeText(const int32_t* source, int32_t length, char* destination, int32_t capacity,
                   uint32_t codePage);

// Makes `codePage` the process-wide default. kCodePageDefault selects by the name of the current
// locale: Windows-1250 if it contains ".1250", Windows-1252 for ".1252"; else the default stays.
void SelectCodePage(uint32_t codePage);

// Decodes the UTF-8 sequence at `position` and moves `position` to the byte after it. Returns the
// code point, or -1, with `position` unchanged, at `end` or at a malformed sequence.
int32_t DecodeUtf8Character(const char*& position, const char* end);

// Writes the UTF-8 sequence of `codePoint` and returns its length in bytes; 0, with nothing
// written, if the code point is negative or the sequence is longer than `capacity`.
int32_t EncodeUtf8Character(int32_t codePoint, char* buffer, int32_t capacity);

}  // namespace Core
