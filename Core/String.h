// Text: file names, gzip names and comments, formatted messages.
//
// A String has its code points in one reference-counted block. A second block has the narrow
// rendering, the same text in bytes, which is made when it is first asked for. Copies share both
// blocks and may belong to different threads. But a rendering is stored without a lock, so only one
// thread may ask for the first one of a string. Both blocks have this form:
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

  // Decodes the text from `begin` to `end`, or to the terminating zero if `end` is null, under
  // `codePage` (Core/CharacterSets.h). Null and an empty range give the empty string. False: no
  // memory, or the text has 2^31 bytes or more; the string is empty.
  // Requires: the text is not this string's own rendering.
  [[nodiscard]] bool Assign(uint32_t codePage, const char* begin, const char* end);

  bool IsEmpty() const;

  // Makes the narrow rendering, so that ToNarrow cannot fail while the string is unchanged. False:
  // no memory.
  [[nodiscard]] bool PrepareNarrow() const;

  // The narrow rendering: zero-terminated bytes under the default code page, valid while the string
  // is unchanged. Empty if there is no memory for it.
  const char* ToNarrow() const;

  // Assigns what vsnprintf makes of `format`, cut at 15,999 bytes. False: no memory; the string is
  // empty.
  [[nodiscard]] bool Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // HashBytes of the code points, computed once per block. It completes the interface; the tool
  // does not call it.
  uint32_t Hash() const;

  // Drops both blocks: the string is empty.
  void Release();

 private:
  struct Block;

  // Adds a reference to each block.
  void Share() const;

  Block* text_ = nullptr;            // code points
  mutable Block* narrow_ = nullptr;  // renders text_, or null
};

}  // namespace Core
