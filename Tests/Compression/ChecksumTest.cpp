#include <gtest/gtest.h>

#include <string>

#include "Compression/Adler32.h"
#include "Compression/Crc32.h"
#include "Compression/HashBytes.h"

namespace {

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

TEST(Checksums, HaveThePublishedValues) {
  EXPECT_EQ(Crc32(Bytes("IEND"), 4, 0), 0xAE426082);
  EXPECT_EQ(Crc32(nullptr, 4, 7), 7u);
  EXPECT_EQ(Adler32(Bytes("123456789"), 9, kAdler32Initial), 0x091E01DEu);
}

// The largest sums that can come before they are reduced.
TEST(Checksums, Adler32DoesNotOverflow) {
  const std::string data(20000, '\xFF');
  uint32_t a = 65520;
  uint32_t b = 65520;
  const uint32_t start = b << 16 | a;
  for (std::size_t i = 0; i < data.size(); ++i) b = (b + (a = (a + 255) % 65521)) % 65521;
  EXPECT_EQ(Adler32(Bytes(data), data.size(), start), b << 16 | a);
}

// Worked out by another program.
TEST(HashBytes, MixesWholeWordsAndTails) {
  const uint32_t expected[] = {0x14BC3BB2, 0xAD4B9CF8, 0x3BB841BA, 0x5465B110};
  const std::size_t lengths[] = {0, 1, 4, 7};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(HashBytes(Bytes("halomend"), lengths[i]), expected[i]) << i;
  EXPECT_EQ(HashWord('h' | 'a' << 8 | 'l' << 16 | 'o' << 24), expected[2]);
}

}  // namespace
