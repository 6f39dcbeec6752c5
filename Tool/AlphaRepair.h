// The repair itself: gives the colour hidden in transparent pixels the average of what is visible
// around them, ring by ring outwards. Alpha values and visible pixels are never changed.
#pragma once

#include <cstdint>

#include "Image/Bitmap.h"

enum class RepairResult {
  kNothingToFix,  // no transparent pixel touches a visible one; the bitmap is as it was
  kRepaired,      // every transparent pixel that was reached has its colour
  kOutOfMemory,   // the bitmap is left unfinished, its alphas too, and is not to be used
};

// Repairs `bitmap` in place. A pixel is transparent when its alpha is at most `threshold`; the tool
// uses 0. Pixels with any higher alpha are sources of full weight.
[[nodiscard]] RepairResult RepairPixels(Bitmap& bitmap, int32_t threshold);

// The same as a plain answer: true when at least one pixel was given a colour.
[[nodiscard]] bool RepairTransparentPixels(Bitmap& bitmap, int32_t threshold);
