// Under every character set, conversions agree: counting with storing, cut with whole, one
// character with many, decoding with encoding; UTF-8 agrees with its definition, and a string holds
// the same text.
//
//   input: capacity, text (taken as bytes, and as code points: a right shift and four bytes each)
#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "Compression/Checksums/HashBytes.h"
#include "Core/CharacterSets.h"
#include "Core/Endian.h"
#include "Core/String.h"
#include "Fuzz/Check.h"

namespace {

using Text = std::vector<int32_t>;

constexpr uint32_t kCodePages = 7;  // the last one is not assigned

// Without a capacity, the capacity is the count, and exactly that many are stored.
template <typename To, typename From>
To Convert(auto function, const From& source, uint32_t codePage, int32_t capacity) {
  const int32_t size = static_cast<int32_t>(source.size());
  const bool isWhole = capacity == 0;
  if (isWhole) capacity = function(source.data(), size, nullptr, 0, codePage);
  std::vector<typename To::value_type> exact(capacity);
  const int32_t count = function(source.data(), size, exact.data(), capacity, codePage);
  Check(count <= capacity && (!isWhole || count == capacity));
  return To(exact.begin(), exact.begin() + count);
}

Text Decode(const std::string& bytes, uint32_t codePage, int32_t capacity = 0) {
  return Convert<Text>(Core::DecodeText, bytes, codePage, capacity);
}
std::string Encode(const Text& text, uint32_t codePage, int32_t capacity = 0) {
  return Convert<std::string>(Core::EncodeText, text, codePage, capacity);
}

// UTF-8 in its plainest form, up to the first fault: the ones that a lead byte begins with count
// the bytes of a sequence, each with six bits more.
Text DecodeSlowly(const std::string& bytes) {
  Text text;
  for (std::size_t at = 0, next; at < bytes.size(); at = next) {
    const uint32_t lead = static_cast<uint8_t>(bytes[at]);
    const std::size_t count = lead < 0x80 ? 1 : std::countl_one(static_cast<uint8_t>(lead));
    next = at + count;
    if ((lead >= 0x80 && count == 1) || count > 6 || next > bytes.size()) break;
    uint32_t codePoint = lead < 0x80 ? lead : lead & (0x7F >> count);
    for (std::size_t i = at + 1; i < next; ++i) {
      const uint32_t byte = static_cast<uint8_t>(bytes[i]);
      if (byte / 64 != 2) return text;
      codePoint = codePoint * 64 + byte % 64;
    }
    text.push_back(codePoint > 0xFFFF ? '?' : static_cast<int32_t>(codePoint));
  }
  return text;
}

void TestDecoding(const std::string& bytes, uint32_t codePage, int32_t capacity) {
  Text text = Decode(bytes, codePage);
  Check(codePage != Core::kCodePageUtf8 || text == DecodeSlowly(bytes));
  Check(Decode(Encode(text, codePage), codePage) == text);
  text.resize(std::min<std::size_t>(text.size(), capacity));
  Check(Decode(bytes, codePage, capacity) == text);
}

// A sequence that does not fit is skipped; a later one may fit.
void TestEncoding(const Text& text, uint32_t codePage, int32_t capacity) {
  std::string whole, cut;
  for (const int32_t codePoint : text) {
    const std::string sequence = Encode({codePoint}, codePage);
    whole += sequence;
    if (cut.size() + sequence.size() <= static_cast<uint32_t>(capacity)) cut += sequence;
    if (codePage != Core::kCodePageUtf8) continue;
    const int32_t lasts[] = {-1, 0x7F, 0x7FF, 0xFFFF, 0x1FFFFF, 0x3FFFFFF, INT32_MAX};
    Check(std::ranges::lower_bound(lasts, codePoint) == lasts + sequence.size());
    const char* position = sequence.data();
    const char* const end = position + sequence.size();
    Check(Core::DecodeUtf8Character(position, end) == std::max(codePoint, -1) && position == end);
  }
  Check(Encode(text, codePage) == whole && Encode(text, codePage, capacity) == cut);
}

// A string keeps its text when it is shared and the other one is gone.
void TestString(const std::string& bytes, uint32_t codePage) {
  const Text text = Decode(bytes, codePage);
  const std::string narrow = Encode(text, Core::kCodePageDefault);
  Core::String first;
  Check(first.Assign(codePage, bytes.data(), bytes.data() + bytes.size()));
  const Core::String second(first);
  first.Release();
  Check(second.IsEmpty() == text.empty() && first.IsEmpty());
  Check(second.Hash() == HashBytes(reinterpret_cast<const uint8_t*>(text.data()), 4 * text.size()));
  Check(std::memcmp(second.ToNarrow(), narrow.c_str(), narrow.size() + 1) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzInput input = {data, data + size};
  const int32_t capacity = 1 + input.Byte() % 64;
  const std::string bytes(input.next, input.end);
  Text codePoints;
  while (input.Left() > 0) {
    const int shift = input.Byte() % 32;
    Bytes value = input.Take(4);
    value.resize(4);
    codePoints.push_back(static_cast<int32_t>(Core::LoadLittle32(value.data()) >> shift));
  }
  for (uint32_t codePage = 0; codePage < kCodePages; ++codePage) {
    TestDecoding(bytes, codePage, capacity);
    TestEncoding(codePoints, codePage, capacity);
    TestString(bytes, codePage);
  }
  return 0;
}
