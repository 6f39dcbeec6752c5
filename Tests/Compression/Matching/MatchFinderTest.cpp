// Both match finders, the plain one being the measure of the other.
#include "Compression/Matching/MatchFinder.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "Compression/Matching/LongestMatchFinder.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/SampleData.h"

namespace {

struct Finders {
  DeflateWindow window;
  MatchFinder plain;
  LongestMatchFinder longest;
};

TEST(MatchFinder, GoesOnFromTheStartOfARun) {
  const struct {
    const char* name;
    std::string text;
    int32_t position, maxLength;
    Match match;
  } rows[] = {
      {"the start of a run", "abcabcabcQabcabcR", 10, 7, {7, 6}},
      {"... reached in one step", "xxxxxxxxxabcabcabcQabcabcR", 19, 7, {7, 6}},
      {"the end of a run", "xxxxxxxxxabcabcQabcabcabcQabcabcQ", 26, 7, {7, 7}},
  };
  for (const auto& row : rows) {
    const int32_t size = static_cast<int32_t>(row.text.size());
    Core::MemoryStream source(row.text.data(), static_cast<uint32_t>(size));
    const auto finders = std::make_unique<Finders>();
    EXPECT_EQ(finders->window.Fill(nullptr, 0), -1);
    EXPECT_EQ(finders->window.Fill(&source, 0), size);
    finders->plain.Reset();
    for (int32_t i = 0; i < row.position; ++i) finders->plain.Insert(finders->window, i);
    finders->window.Advance(row.position);
    Match match = {0, 0};
    EXPECT_TRUE(finders->plain.FindMatch(finders->window, row.position, row.maxLength, match) &&
                match.distance == row.match.distance && match.length == row.match.length)
        << row.name;
  }
}

// Pixels in runs of many lengths, of few colours, some of one byte value or of two.
Bytes PixelRunsOf(std::size_t size, uint32_t seed, int longest) {
  std::mt19937 random(seed);
  const std::string colors[] = {"RGBA", std::string(4, '\xFF'), "xyxy", "RGBB", std::string(4, 0)};
  Bytes data;
  while (data.size() < size) {
    const std::string& color = colors[random() % std::size(colors)];
    for (int left = 1 + static_cast<int>(random() % longest); left > 0; --left) {
      data.insert(data.end(), color.begin(), color.end());
    }
    if (random() % 4 == 0) data.push_back(static_cast<uint8_t>(random() % 3));
  }
  data.resize(size);
  return data;
}

// Wherever a parser may stand, both find the same, with any match pending.
void TestAgreement(const Bytes& data, uint32_t seed) {
  std::mt19937 random(seed);
  Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size()));
  const auto finders = std::make_unique<Finders>();
  auto& [window, plain, longest] = *finders;
  plain.Reset();
  std::size_t done = 0;
  for (int32_t available = 0;;) {
    const int32_t got = window.Fill(&source, available);
    if (done + available == 0) longest.Reset(got);
    available += got;
    const int32_t end = window.Position() + available;
    longest.Link(window, end);
    const int32_t reserve = got > 0 ? kMaxMatchLength : 0;
    for (; available > reserve; --available, ++done) {
      const int32_t maxDistance = std::min(window.Position(), DeflateWindow::kHistoryBytes);
      const int32_t maxLength = std::min(available, kMaxMatchLength);
      Match expected = {0, 0};
      if (!plain.FindMatch(window, maxDistance, maxLength, expected)) expected.length = 0;
      const int32_t pending[] = {0, expected.length - 1, expected.length, 3 + int(random() % 60)};
      const int32_t atLeast = std::max(pending[random() % 4], 0);
      Match found = {0, 0};
      const bool isFound = longest.FindMatch(window, maxDistance, maxLength, atLeast, found);
      ASSERT_EQ(isFound, expected.length > atLeast) << done << " " << atLeast;
      ASSERT_FALSE(expected.length > 0 && maxLength >= LongestMatchFinder::kLongMatch &&
                   longest.IsNew(window));
      ASSERT_TRUE(!isFound ||
                  (found.length == expected.length && found.distance == expected.distance))
          << done << ": " << found.distance << " instead of " << expected.distance;
      window.Advance(1);
    }
    if (got <= 0) break;
    const int32_t shift = window.Slide(end);
    plain.Slide(shift, end - shift);
    longest.Slide(shift);
  }
  EXPECT_EQ(done, data.size());
}

TEST(LongestMatchFinder, AgreesWithThePlainWalk) {
  for (const DataKind kind : kAllDataKinds) {
    for (const std::size_t size : {0, 1, 3, 4, 700, 36000}) {
      TestAgreement(MakeData(kind, size, 7), 1);
      ASSERT_FALSE(HasFatalFailure()) << int(kind) << " " << size;
    }
  }
  for (uint32_t seed = 0; seed < 9; ++seed) {  // the only match is as far back as there is data
    TestAgreement({1, 2, 3, 4, 5, 6, 1, 2, 3, 7, 8}, seed);
  }
  for (const int longest : {2, 9, 70}) {
    TestAgreement(PixelRunsOf(80000, longest, longest), 2);
    ASSERT_FALSE(HasFatalFailure()) << longest;
  }
  // Dense enough for chains of long keys, then for longer than they are kept not, and again.
  Bytes data = MakeData(DataKind::kNoise, 730000, 3);
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (i < 70000 || i > 620000) data[i] &= 3;
  }
  TestAgreement(data, 3);
}

}  // namespace
