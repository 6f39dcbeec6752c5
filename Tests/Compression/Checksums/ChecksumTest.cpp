#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>

#include "Compression/Checksums/Adler32.h"
#include "Compression/Checksums/Crc32.h"
#include "Compression/Checksums/HashBytes.h"

namespace {

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

// One byte at a time.
uint32_t PlainCrc(const uint8_t* data, std::size_t length, uint32_t crc) {
  crc = ~crc;
  for (std::size_t i = 0; i < 8 * length; ++i) {
    if (i % 8 == 0) crc ^= data[i / 8];
    crc = crc >> 1 ^ (crc % 2 * 0xEDB88320);
  }
  return ~crc;
}
uint32_t PlainAdler(const uint8_t* data, std::size_t length, uint32_t previous) {
  uint32_t a = (previous & 0xFFFF) % 65521, b = (previous >> 16) % 65521;
  for (std::size_t i = 0; i < length; ++i) b = (b + (a = (a + data[i]) % 65521)) % 65521;
  return b << 16 | a;
}

// On random bytes and on the largest, from random sums and from the largest, which are not reduced.
TEST(Checksums, AgreeWithPlainLoops) {
  EXPECT_EQ(Crc32(nullptr, 4, 7), 7u);
  EXPECT_EQ(Adler32(nullptr, 0, ~0u), 0x000E000Eu);
  std::mt19937 random(5);
  std::string data(40000, '\xFF');
  std::generate(data.begin(), data.begin() + 20000, std::ref(random));
  for (std::size_t i = 0; i < 1000; ++i) {
    const std::size_t length = i < 400 ? i : random() % 20000;
    const uint8_t* start = Bytes(data) + random() % 20001;
    const uint32_t adler = i % 2 == 0 ? ~0u : random() % 65521;
    const uint32_t crc = random();
    ASSERT_EQ(Adler32(start, length, adler), PlainAdler(start, length, adler)) << length;
    ASSERT_EQ(Crc32(start, length, crc), PlainCrc(start, length, crc)) << length;
  }
}

// Worked out by another program.
TEST(HashBytes, MixesWholeWordsAndTails) {
  const uint32_t expected[] = {0x14BC3BB2, 0xAD4B9CF8, 0x3BB841BA, 0x5465B110};
  const std::size_t lengths[] = {0, 1, 4, 7};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(HashBytes(Bytes("halomend"), lengths[i]), expected[i]) << i;
  EXPECT_EQ(HashWord('h' | 'a' << 8 | 'l' << 16 | 'o' << 24), expected[2]);
}

}  // namespace
