#include "Tool/AlphaRepair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

// The rule in its plainest form: whole-image arrays, every neighbour tested for itself.
class SlowRepair {
 public:
  SlowRepair(Bitmap& bitmap, int threshold)
      : bitmap_(bitmap), threshold_(threshold), known_(Cells()), queued_(Cells()) {}

  bool Run() {
    std::vector<Place> current;
    for (int y = 0; y < bitmap_.Height(); ++y) {
      for (int x = 0; x < bitmap_.Width(); ++x) {
        known_[Cell({x, y})] = IsVisible({x, y});
        const std::vector<Place> around = Around({x, y});
        if (!IsVisible({x, y}) && std::any_of(around.begin(), around.end(),
                                              [this](Place place) { return IsVisible(place); })) {
          current.push_back({x, y});
        }
      }
    }
    const bool isChanging = !current.empty();
    while (!current.empty()) current = Wave(current);
    return isChanging;
  }

 private:
  struct Place {
    int x, y;
  };

  std::vector<Place> Wave(std::vector<Place> current) {
    std::vector<Place> next;
    for (std::size_t i = 0; i < current.size();) {
      const Place place = current[i];
      if (known_[Cell(place)]) {
        ++i;
        continue;
      }
      Recolour(place);
      for (const Place& other : Around(place)) {
        if (known_[Cell(other)] || queued_[Cell(other)]) continue;
        queued_[Cell(other)] = true;
        next.push_back(other);
      }
      current[i] = current.back();
      current.pop_back();
    }
    return next;
  }

  std::size_t Cells() const { return static_cast<std::size_t>(bitmap_.Width() * bitmap_.Height()); }
  std::size_t Cell(Place place) const {
    return static_cast<std::size_t>(place.y * bitmap_.Width() + place.x);
  }
  bool IsVisible(Place place) const {
    return static_cast<int>(bitmap_.Row(place.y)[place.x] >> 24) > threshold_;
  }
  std::vector<Place> Around(Place centre) const {
    std::vector<Place> places;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        const Place place = {centre.x + dx, centre.y + dy};
        const bool isInside =
            place.x >= 0 && place.x < bitmap_.Width() && place.y >= 0 && place.y < bitmap_.Height();
        if (isInside && (dx != 0 || dy != 0)) places.push_back(place);
      }
    }
    return places;
  }
  void Recolour(Place place) {
    Pixel color = bitmap_.Row(place.y)[place.x] & 0xFF000000;
    for (int shift : {16, 8, 0}) {
      unsigned sum = 0;
      unsigned count = 0;
      for (const Place& other : Around(place)) {
        if (!known_[Cell(other)]) continue;
        sum += bitmap_.Row(other.y)[other.x] >> shift & 255;
        ++count;
      }
      color |= sum / count << shift;
    }
    bitmap_.Row(place.y)[place.x] = color;
    known_[Cell(place)] = true;
  }

  Bitmap& bitmap_;
  int threshold_;
  std::vector<bool> known_;
  std::vector<bool> queued_;
};

TEST(AlphaRepair, IsTheSameAsThePlainRule) {
  std::mt19937 random(2);
  for (int round = 0; round < 1500; ++round) {
    const int width = 1 + static_cast<int>(random() % (round % 10 == 0 ? 150 : 12));
    const int height = 1 + static_cast<int>(random() % 12);
    const uint32_t visibleOneIn = 1 + random() % 40;
    const int threshold = round % 5 == 0 ? static_cast<int>(random() % 300) - 20 : 0;
    Bitmap bitmap(width, height);
    for (Pixel* pixel = bitmap.Row(0); pixel != bitmap.Row(0) + width * height; ++pixel) {
      *pixel = random() & 0xFFFFFF;
      if (random() % visibleOneIn == 0) *pixel |= (1 + random() % 255) << 24;
    }
    Bitmap slow(bitmap);
    ASSERT_EQ(RepairTransparentPixels(bitmap, threshold), SlowRepair(slow, threshold).Run());
    ASSERT_TRUE(std::equal(slow.Row(0), slow.Row(0) + width * height, bitmap.Row(0))) << round;
  }
}

TEST(AlphaRepair, SmallPictures) {
  const struct {
    const char* name;
    int width;
    std::vector<Pixel> before, after;  // empty after: nothing to fix
  } rows[] = {
      {"no pixels", 0, {}, {}},
      {"one pixel", 1, {0x00123456}, {}},
      {"all visible", 2, {0xFF000001, 0x01000002}, {}},
      {"all transparent", 2, {0x00000001, 0x00000002}, {}},
      {"sums are truncated", 3, {0xFF010000, 0, 0xFF020000}, {0xFF010000, 0x010000, 0xFF020000}},
      {"the same colour is a change too", 2, {0xFF000001, 1}, {0xFF000001, 1}},
      {"faint pixels count in full", 3, {0x01000010, 0, 0xFF000030}, {0x01000010, 32, 0xFF000030}},
      {"three waves", 4, {0xFFC86432, 7, 8, 9}, {0xFFC86432, 0xC86432, 0xC86432, 0xC86432}},
      {"done earlier in a wave is a source",
       4,
       {0xFF000008, 0, 0, 0xFF000000},
       {0xFF000008, 8, 4, 0xFF000000}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bitmap bitmap(row.width, 1);
    std::copy(row.before.begin(), row.before.end(), bitmap.Row(0));
    EXPECT_EQ(RepairTransparentPixels(bitmap, 0), !row.after.empty());
    const std::vector<Pixel>& expected = row.after.empty() ? row.before : row.after;
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bitmap.Row(0)));
  }
}

}  // namespace
