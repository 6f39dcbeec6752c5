// Text: file names, gzip names and comments, formatted messages.
//
// A String holds code points in a shared, reference-counted block, and beside it a narrow (byte)
// rendering made the first time it is asked for. Copies share both blocks; nothing is copied until
// a string is given new content. Both blocks begin with the same header:
//
//   | capacity | length | reference count | hash |  elements ...  | one zero element |
//   four unsigned 32-bit words                      32-bit code points, or bytes
#pragma once

#include <cstddef>
#include <cstdint>

namespace Core {

class String {
 public:
  // The empty string; no block.
  constexpr String() = default;
  String(const String& other);
  String& operator=(const String& other);
  ~String() { Release(); }

  // Takes the text from `begin` up to `end`, or up to the terminating zero when `end` is null,
  // decoded under `codePage` (0: the default; Core/CharacterSets.h). Null or an empty range gives
  // the empty string. False: no memory, or 2^31 bytes and more; the string is empty.
  // Requires: the text is not this string's own rendering.
  [[nodiscard]] bool Assign(uint32_t codePage, const char* begin, const char* end);

  bool IsEmpty() const;

  // Makes the rendering that ToNarrow hands out, so that ToNarrow cannot fail as long as the string
  // is unchanged. False: no memory for it.
  [[nodiscard]] bool PrepareNarrow() const;

  // Zero-terminated bytes under the default code page, valid while the string is unchanged. Without
  // memory for the rendering: an empty byte string.
  const char* ToNarrow() const;

  // Becomes the text that vsnprintf makes of `format`, cut at 15,999 bytes. False: no memory.
  [[nodiscard]] bool Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // HashBytes over the code points, kept in the block once computed.
  uint32_t Hash() const;

  // Drops both blocks; the string is empty.
  void Release();

 private:
  struct Block;

  // Adds one reference to each block there is.
  void Share() const;

  Block* text_ = nullptr;            // code points
  mutable Block* narrow_ = nullptr;  // renders text_, or null
};

}  // namespace Core
