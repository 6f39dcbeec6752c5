#include "Benchmarks/DataSets.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

uint32_t Pack(double red, double green, double blue, double alpha) {
  const auto byte = [](double value) {
    return static_cast<uint32_t>(std::clamp(std::lround(value), 0L, 255L));
  };
  return byte(red) | byte(green) << 8 | byte(blue) << 16 | byte(alpha) << 24;
}

template <typename ColorAt>
Picture Paint(uint32_t width, uint32_t height, ColorAt colorAt) {
  Picture picture(width, height);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) picture.Row(y)[x] = colorAt(x, y);
  }
  return picture;
}

// A disc in each cell of a grid, with one in five cells empty.
Picture MakeSprite(uint32_t width, uint32_t height) {
  constexpr uint32_t kCell = 64;
  std::mt19937 random(1);
  const uint32_t columns = width / kCell + 1;
  std::vector<uint32_t> seeds(std::size_t{columns} * (height / kCell + 1));
  std::generate(seeds.begin(), seeds.end(), std::ref(random));
  return Paint(width, height, [&](uint32_t x, uint32_t y) {
    const uint32_t seed = seeds[std::size_t{y / kCell} * columns + x / kCell];
    const double dx = x % kCell - 31.5;
    const double dy = y % kCell - 31.5;
    const double inside = seed % 5 == 0 ? -1 : 16 + seed % 13 - std::sqrt(dx * dx + dy * dy);
    const double alpha = std::clamp(inside, 0.0, 1.0) * 255;
    const uint32_t hidden = seed % 3 == 0 ? 0 : seed % 3 == 1 ? 255 : seed >> 8 & 255;
    if (alpha < 0.5) return Pack(hidden, hidden, hidden, 0);
    const double light = 1 - 0.012 * (dx + dy) + 0.02 * (random() % 4);
    return Pack((seed >> 8 & 255) * light, (seed >> 16 & 255) * light, (seed >> 24) * light, alpha);
  });
}

Picture MakeFlat(uint32_t width, uint32_t height) {
  return Paint(width, height, [](uint32_t x, uint32_t y) {
    const uint32_t cell = x / 32 * 7 + y / 32 * 13;
    const bool isInside = (x % 32 + y % 32 < 40) != (cell % 3 == 0);
    constexpr uint32_t kColors[] = {0xFF2040C0, 0xFFE0E0E0, 0xFF30A030, 0xFF101010};
    return isInside && cell % 2 == 0 ? kColors[cell / 2 % 4] : 0x00FFFFFF;
  });
}

}  // namespace

Picture MakePhoto(uint32_t width, uint32_t height) {
  std::mt19937 random(2);
  return Paint(width, height, [&](uint32_t x, uint32_t y) {
    const double wave = std::sin(x * 0.013) * std::cos(y * 0.017);
    const double noise = random() % 8;
    return Pack(128 + 90 * wave + noise, 120 + 60 * std::sin((x + y) * 0.007) + noise,
                100 - 70 * wave + random() % 4, 255);
  });
}

const std::vector<DataSet> kDataSets = {
    {"Sprite", MakeSprite}, {"Flat", MakeFlat}, {"Photo", MakePhoto}};

void CopyTo(Bitmap& bitmap, const Picture& picture) {
  const auto width = static_cast<int32_t>(picture.width);
  const auto height = static_cast<int32_t>(picture.height);
  if ((bitmap.Width() != width || bitmap.Height() != height) && !bitmap.Resize(width, height)) {
    throw std::runtime_error("no memory");
  }
  for (int32_t y = 0; y < height; ++y) {
    const uint32_t* row = picture.Row(static_cast<uint32_t>(y));
    std::transform(row, row + width, bitmap.Row(y), [](uint32_t pixel) {
      return (pixel & 0xFF00FF00) | (pixel & 0xFF) << 16 | (pixel >> 16 & 0xFF);
    });
  }
}

Picture PictureOf(const Bitmap& bitmap) {
  return Paint(static_cast<uint32_t>(bitmap.Width()), static_cast<uint32_t>(bitmap.Height()),
               [&](uint32_t x, uint32_t y) {
                 const Pixel pixel = bitmap.Row(static_cast<int32_t>(y))[x];
                 return uint32_t{RedOf(pixel)} | uint32_t{GreenOf(pixel)} << 8 |
                        uint32_t{BlueOf(pixel)} << 16 | uint32_t{AlphaOf(pixel)} << 24;
               });
}

bool operator==(const Picture& one, const Picture& other) {
  return one.width == other.width && one.height == other.height &&
         std::equal(one.pixels.begin(), one.pixels.end(), other.pixels.begin());
}
