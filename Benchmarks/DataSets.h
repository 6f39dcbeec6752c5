// Pictures from seeded generators, the same on every machine.
#pragma once

#include <string>
#include <vector>

#include "Benchmarks/Peers/Picture.h"
#include "Image/Bitmap.h"

struct DataSet {
  const char* name;
  Picture (*make)(uint32_t width, uint32_t height);
};

// Sprite: soft discs with shading on a transparent ground of several hidden colours.
// Flat: drawn shapes of few colours, hard edges, half of it transparent.
// Photo: smooth colours with noise in the low bits, opaque.
extern const std::vector<DataSet> kDataSets;

Picture MakePhoto(uint32_t width, uint32_t height);

// The same picture as the product's bitmap, and back.
void CopyTo(Bitmap& bitmap, const Picture& picture);
Picture PictureOf(const Bitmap& bitmap);

bool operator==(const Picture& one, const Picture& other);
