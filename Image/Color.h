// A colour with alpha, and the one place that knows how a pixel word is laid out.
#pragma once

#include <algorithm>
#include <cstdint>

// A pixel is one 32-bit word: alpha in bits 24-31, red 16-23, green 8-15, blue 0-7.
using Pixel = uint32_t;

constexpr Pixel kColorMask = 0x00FFFFFF;  // red, green and blue

// Turns a pixel into the little-endian number whose bytes are red, green, blue and alpha, and back.
constexpr uint32_t SwapRedAndBlue(uint32_t value) {
  return (value & 0xFF00FF00) | (value & 0xFF) << 16 | (value >> 16 & 0xFF);
}

constexpr Pixel PackPixel(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) {
  return Pixel{alpha} << 24 | Pixel{red} << 16 | Pixel{green} << 8 | Pixel{blue};
}

constexpr uint8_t AlphaOf(Pixel pixel) { return static_cast<uint8_t>(pixel >> 24); }
constexpr uint8_t RedOf(Pixel pixel) { return static_cast<uint8_t>(pixel >> 16); }
constexpr uint8_t GreenOf(Pixel pixel) { return static_cast<uint8_t>(pixel >> 8); }
constexpr uint8_t BlueOf(Pixel pixel) { return static_cast<uint8_t>(pixel); }

// The nearest of 0 to 255.
constexpr uint8_t ClampToByte(int32_t value) {
  return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// A colour, made of four integers that are clamped to bytes.
struct Color {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
  uint8_t alpha;

  constexpr Color(int32_t r, int32_t g, int32_t b, int32_t a)
      : red(ClampToByte(r)), green(ClampToByte(g)), blue(ClampToByte(b)), alpha(ClampToByte(a)) {}

  constexpr Pixel Packed() const { return PackPixel(red, green, blue, alpha); }
};
