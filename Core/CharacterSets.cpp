#include "Core/CharacterSets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <clocale>
#include <cstring>
#include <limits>

namespace Core {

namespace {

constexpr int kByteValues = 256;
constexpr int16_t kNone = -1;              // in any table: nothing is assigned
constexpr int32_t kReplacement = '?';      // for a character outside the set
constexpr int32_t kMalformed = -1;         // from DecodeUtf8Character
constexpr int kMaxSequence = 6;            // bytes of UTF-8
constexpr int32_t kBeyondBasic = 0x10000;  // the first code point outside the basic plane

// The code point of each byte, or kNone.
using DecodingTable = std::array<int16_t, kByteValues>;

// The byte of each code point, in two levels. Bits 8 to 15 of the code point, its page, select one
// of the first 256 entries: the index in the same array at which the block of that page begins, or
// kNone. Bits 0 to 7 select the entry in that block: the byte, or kNone.
template <int kPages>
using EncodingTable = std::array<int16_t, kByteValues * std::size_t{1 + kPages}>;

// The published mappings, where they differ from "a byte is its own code point".

// From byte 0xA0.
constexpr std::array<int16_t, 32> kLatin2Signs = {
    0x00A0, 0x0104, 0x02D8, 0x0141, 0x00A4, 0x013D, 0x015A, 0x00A7,  // 0xA0
    0x00A8, 0x0160, 0x015E, 0x0164, 0x0179, 0x00AD, 0x017D, 0x017B,  // 0xA8
    0x00B0, 0x0105, 0x02DB, 0x0142, 0x00B4, 0x013E, 0x015B, 0x02C7,  // 0xB0
    0x00B8, 0x0161, 0x015F, 0x0165, 0x017A, 0x02DD, 0x017E, 0x017C,  // 0xB8
};

// From byte 0xC0, in Windows-1250 too.
constexpr std::array<int16_t, 64> kLatin2Letters = {
    0x0154, 0x00C1, 0x00C2, 0x0102, 0x00C4, 0x0139, 0x0106, 0x00C7,  // 0xC0
    0x010C, 0x00C9, 0x0118, 0x00CB, 0x011A, 0x00CD, 0x00CE, 0x010E,  // 0xC8
    0x0110, 0x0143, 0x0147, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x00D7,  // 0xD0
    0x0158, 0x016E, 0x00DA, 0x0170, 0x00DC, 0x00DD, 0x0162, 0x00DF,  // 0xD8
    0x0155, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x013A, 0x0107, 0x00E7,  // 0xE0
    0x010D, 0x00E9, 0x0119, 0x00EB, 0x011B, 0x00ED, 0x00EE, 0x010F,  // 0xE8
    0x0111, 0x0144, 0x0148, 0x00F3, 0x00F4, 0x0151, 0x00F6, 0x00F7,  // 0xF0
    0x0159, 0x016F, 0x00FA, 0x0171, 0x00FC, 0x00FD, 0x0163, 0x02D9,  // 0xF8
};

// From byte 0x80.
constexpr std::array<int16_t, 32> kWindows1252Signs = {
    0x20AC, kNone,  0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, kNone,  0x017D, kNone,   // 0x88
    kNone,  0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, kNone,  0x017E, 0x0178,  // 0x98
};

// From byte 0x80.
constexpr std::array<int16_t, 64> kWindows1250Signs = {
    0x20AC, kNone,  0x201A, kNone,  0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    kNone,  0x2030, 0x0160, 0x2039, 0x015A, 0x0164, 0x017D, 0x0179,  // 0x88
    kNone,  0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    kNone,  0x2122, 0x0161, 0x203A, 0x015B, 0x0165, 0x017E, 0x017A,  // 0x98
    0x00A0, 0x02C7, 0x02D8, 0x0141, 0x00A4, 0x0104, 0x00A6, 0x00A7,  // 0xA0
    0x00A8, 0x00A9, 0x015E, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x017B,  // 0xA8
    0x00B0, 0x00B1, 0x02DB, 0x0142, 0x00B4, 0x00B5, 0x00B6, 0x00B7,  // 0xB0
    0x00B8, 0x0105, 0x015F, 0x00BB, 0x013D, 0x02DD, 0x013E, 0x017C,  // 0xB8
};

constexpr DecodingTable MakeLatin1() {
  DecodingTable table{};
  for (int byte = 0; byte < kByteValues; ++byte) table[byte] = static_cast<int16_t>(byte);
  return table;
}

template <std::size_t kCount>
constexpr DecodingTable WithRange(DecodingTable table, int firstByte,
                                  const std::array<int16_t, kCount>& codePoints) {
  std::copy(codePoints.begin(), codePoints.end(), table.begin() + firstByte);
  return table;
}

// More than `kPages` pages would mean a write beyond the array, which does not compile.
template <int kPages>
constexpr EncodingTable<kPages> Reverse(const DecodingTable& decoding) {
  EncodingTable<kPages> table{};
  table.fill(kNone);
  int16_t nextBlock = kByteValues;
  for (int byte = 0; byte < kByteValues; ++byte) {
    const int16_t codePoint = decoding[byte];
    if (codePoint == kNone) continue;
    int16_t& block = table[codePoint >> 8];
    if (block == kNone) {
      block = nextBlock;
      nextBlock += kByteValues;
    }
    table[block + (codePoint & 0xFF)] = static_cast<int16_t>(byte);
  }
  return table;
}

constexpr DecodingTable kLatin1 = MakeLatin1();
constexpr DecodingTable kLatin2 =
    WithRange(WithRange(kLatin1, 0xA0, kLatin2Signs), 0xC0, kLatin2Letters);
constexpr DecodingTable kWindows1252 = WithRange(kLatin1, 0x80, kWindows1252Signs);
constexpr DecodingTable kWindows1250 =
    WithRange(WithRange(kLatin1, 0x80, kWindows1250Signs), 0xC0, kLatin2Letters);
static_assert(kLatin1[0x80] == 0x80 && kLatin2[0xA1] == 0x104 && kLatin2[0xFF] == 0x2D9);
static_assert(kWindows1252[0x80] == 0x20AC && kWindows1252[0x81] == kNone);
static_assert(kWindows1250[0x9F] == 0x17A && kWindows1250[0xFF] == 0x2D9);

constexpr EncodingTable<1> kToLatin1 = Reverse<1>(kLatin1);
constexpr EncodingTable<3> kToLatin2 = Reverse<3>(kLatin2);
constexpr EncodingTable<5> kToWindows1252 = Reverse<5>(kWindows1252);
constexpr EncodingTable<5> kToWindows1250 = Reverse<5>(kWindows1250);
static_assert(kToLatin1[0x20] == kNone && kToLatin1[kToLatin1[0] + 0xE9] == 0xE9);
static_assert(kToLatin2[kToLatin2[0x01] + 0x04] == 0xA1);
static_assert(kToWindows1252[kToWindows1252[0x20] + 0xAC] == 0x80);
static_assert(kToWindows1250[kToWindows1250[0x21] + 0x22] == 0x99);

struct ByteTables {
  const int16_t* decoding;
  const int16_t* encoding;
};

// Indexed by the code page less kCodePageLatin1.
constexpr ByteTables kByteTables[] = {
    {kLatin1.data(), kToLatin1.data()},
    {kLatin2.data(), kToLatin2.data()},
    {kWindows1252.data(), kToWindows1252.data()},
    {kWindows1250.data(), kToWindows1250.data()},
};

constinit uint32_t defaultCodePage = kCodePageUtf8;

// Null: the code page is UTF-8.
const ByteTables* TablesOf(uint32_t codePage) {
  if (codePage == kCodePageDefault) codePage = defaultCodePage;
  if (codePage < kCodePageLatin1 || codePage > kCodePageWindows1250) return nullptr;
  return &kByteTables[codePage - kCodePageLatin1];
}

int32_t DecodeUtf8(const char* source, int32_t length, int32_t* destination, int32_t capacity) {
  const char* const end = source + length;
  int32_t count = 0;
  while (capacity == 0 || count < capacity) {
    const int32_t codePoint = DecodeUtf8Character(source, end);
    if (codePoint == kMalformed) break;
    // Deliberate: only the basic multilingual plane is kept. File names lose other characters.
    if (capacity > 0) destination[count] = codePoint < kBeyondBasic ? codePoint : kReplacement;
    ++count;
  }
  return count;
}

int32_t EncodeUtf8(const int32_t* source, int32_t length, char* destination, int32_t capacity) {
  int64_t total = 0;  // six bytes for each code point may be more than 32 bits can count
  for (int32_t i = 0; i < length; ++i) {
    char scratch[kMaxSequence];
    // Deliberate: a sequence that does not fit is skipped, and a later, shorter one may fit.
    total += capacity == 0 ? EncodeUtf8Character(source[i], scratch, kMaxSequence)
                           : EncodeUtf8Character(source[i], destination + total,
                                                 capacity - static_cast<int32_t>(total));
  }
  return static_cast<int32_t>(std::min<int64_t>(total, std::numeric_limits<int32_t>::max()));
}

char EncodeByte(const int16_t* encoding, int32_t codePoint) {
  // Deliberate: bits above 15 are ignored, so a code point outside the basic plane is encoded like
  // its low 16 bits.
  const int16_t block = encoding[codePoint >> 8 & 0xFF];
  // Deliberate: a code point without a byte whose page has a block gives the low byte of kNone,
  // 0xFF, and not the replacement.
  return static_cast<char>(block == kNone ? kReplacement : encoding[block + (codePoint & 0xFF)]);
}

int32_t Utf8Length(int32_t codePoint) {
  if (codePoint < 0x80) return 1;
  if (codePoint < 0x800) return 2;
  if (codePoint < 0x10000) return 3;
  if (codePoint < 0x200000) return 4;
  return codePoint < 0x4000000 ? 5 : kMaxSequence;
}

}  // namespace

int32_t DecodeText(const char* source, int32_t length, int32_t* destination, int32_t capacity,
                   uint32_t codePage) {
  const ByteTables* const tables = TablesOf(codePage);
  if (tables == nullptr) return DecodeUtf8(source, length, destination, capacity);
  if (capacity == 0) return length;
  const int32_t count = std::min(capacity, length);
  for (int32_t i = 0; i < count; ++i) {
    const int16_t codePoint = tables->decoding[static_cast<uint8_t>(source[i])];
    destination[i] = codePoint == kNone ? kReplacement : codePoint;
  }
  return count;
}

int32_t EncodeText(const int32_t* source, int32_t length, char* destination, int32_t capacity,
                   uint32_t codePage) {
  const ByteTables* const tables = TablesOf(codePage);
  if (tables == nullptr) return EncodeUtf8(source, length, destination, capacity);
  if (capacity == 0) return length;
  const int32_t count = std::min(capacity, length);
  for (int32_t i = 0; i < count; ++i) destination[i] = EncodeByte(tables->encoding, source[i]);
  return count;
}

void SelectCodePage(uint32_t codePage) {
  if (codePage != kCodePageDefault) {
    defaultCodePage = codePage;
    return;
  }
  const char* const locale = std::setlocale(LC_CTYPE, nullptr);
  if (locale == nullptr) return;
  if (std::strstr(locale, ".1250") != nullptr) defaultCodePage = kCodePageWindows1250;
  if (std::strstr(locale, ".1252") != nullptr) defaultCodePage = kCodePageWindows1252;
}

// Accepts overlong forms and surrogates. Six bytes carry 31 bits, so no sequence gives a negative
// value, and kMalformed is never a code point.
int32_t DecodeUtf8Character(const char*& position, const char* end) {
  if (position >= end) return kMalformed;
  const uint8_t lead = static_cast<uint8_t>(*position);
  const int ones = std::countl_one(lead);  // the length of the sequence; 0 for a single byte
  if (ones == 0) {
    ++position;
    return lead;
  }
  if (ones == 1 || ones > kMaxSequence || end - position < ones) return kMalformed;
  int32_t codePoint = lead & 0x7F >> ones;
  for (int i = 1; i < ones; ++i) {
    const uint8_t byte = static_cast<uint8_t>(position[i]);
    if ((byte & 0xC0) != 0x80) return kMalformed;
    codePoint = codePoint << 6 | (byte & 0x3F);
  }
  position += ones;
  return codePoint;
}

int32_t EncodeUtf8Character(int32_t codePoint, char* buffer, int32_t capacity) {
  if (codePoint < 0) return 0;
  const int32_t length = Utf8Length(codePoint);
  if (length > capacity) return 0;
  if (length == 1) {
    buffer[0] = static_cast<char>(codePoint);
    return 1;
  }
  for (int32_t i = length - 1; i > 0; --i) {
    buffer[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
    codePoint >>= 6;
  }
  buffer[0] = static_cast<char>(0xFF00 >> length | codePoint);
  return length;
}

}  // namespace Core
