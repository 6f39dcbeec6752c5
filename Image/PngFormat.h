// What the PNG standard fixes, shared by the decoder and the encoder: signature, chunk types,
// colour types and the Adam7 passes.
#pragma once

#include <array>
#include <cstdint>

constexpr std::array<uint8_t, 8> kPngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// A chunk: length of the data, type, data, CRC of type and data; numbers are big-endian.
constexpr int32_t kChunkHeaderSize = 8;  // length and type
constexpr int32_t kChunkCrcSize = 4;

// A chunk type is its four letters as one big-endian number.
constexpr uint32_t ChunkType(const char (&letters)[5]) {
  uint32_t type = 0;
  for (int i = 0; i < 4; ++i) type = type << 8 | static_cast<uint8_t>(letters[i]);
  return type;
}

constexpr uint32_t kChunkHeader = ChunkType("IHDR");
constexpr uint32_t kChunkPalette = ChunkType("PLTE");
constexpr uint32_t kChunkData = ChunkType("IDAT");
constexpr uint32_t kChunkEnd = ChunkType("IEND");
constexpr uint32_t kChunkTransparency = ChunkType("tRNS");
static_assert(kChunkEnd == 0x49454E44);

// The case of each letter is a property of the chunk; bit 5 of a letter is set in lower case.
constexpr uint32_t kChunkCaseBits = 0x20202020;
constexpr uint32_t kChunkAncillaryBit = 0x20000000;  // set: a decoder may skip the chunk
constexpr uint32_t kChunkReservedBit = 0x00002000;   // clear in every file of today's standard

// The type in upper case.
constexpr uint32_t FoldedChunkType(uint32_t type) { return type & ~kChunkCaseBits; }

constexpr int32_t kPngHeaderSize = 13;  // bytes of IHDR data
constexpr uint32_t kPngMaxDimension = 0x7FFFFFFE;

enum PngColorType : uint8_t {
  kPngGrey = 0,
  kPngTruecolor = 2,
  kPngIndexed = 3,
  kPngGreyAlpha = 4,
  kPngTruecolorAlpha = 6,
};

enum PngInterlace : uint8_t { kPngNotInterlaced = 0, kPngAdam7 = 1 };

enum PngFilter : uint8_t {
  kPngFilterNone = 0,
  kPngFilterSub = 1,
  kPngFilterUp = 2,
  kPngFilterAverage = 3,
  kPngFilterPaeth = 4,
};

// The pixels of one pass: every xStep-th of every yStep-th row.
struct PngPass {
  int32_t xStart;
  int32_t yStart;
  int32_t xStep;
  int32_t yStep;
};

constexpr std::array<PngPass, 7> kAdam7Passes = {{{0, 0, 8, 8},
                                                  {4, 0, 8, 8},
                                                  {0, 4, 4, 8},
                                                  {2, 0, 4, 4},
                                                  {0, 2, 2, 4},
                                                  {1, 0, 2, 2},
                                                  {0, 1, 1, 2}}};
constexpr std::array<PngPass, 1> kWholeImagePass = {{{0, 0, 1, 1}}};
