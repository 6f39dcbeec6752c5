#include "Compression/Format/CanonicalCode.h"

#include <gtest/gtest.h>

#include "Tests/Support/Bytes.h"

namespace {

TEST(CanonicalCode, RefusesLengthsThatNoCodeHas) {
  for (const Bytes& lengths : {Bytes{16}, Bytes{0, 255}, Bytes{1, 1, 1}, Bytes{15, 1, 2, 2}}) {
    uint16_t codes[4];
    EXPECT_FALSE(AssignCanonicalCodes(lengths.data(), int(lengths.size()), codes)) << lengths[0];
  }
}

}  // namespace
