// The repair: gives hidden pixels the average colour of their visible neighbours, ring by ring
// outwards. Alpha values and visible pixels never change.
#pragma once

#include <cstdint>

#include "Image/Bitmap.h"

enum class RepairResult {
  kNothingToFix,  // no hidden pixel touches a visible one; the bitmap is unchanged
  kRepaired,      // every hidden pixel has its colour
  kOutOfMemory,   // hidden pixels may have lost colour and alpha; do not use the bitmap
};

// Repairs `bitmap` in place. A pixel is hidden if its alpha is at most `threshold`; the tool uses
// 0. Pixels with any higher alpha are visible and count with full weight.
[[nodiscard]] RepairResult RepairPixels(Bitmap& bitmap, int32_t threshold);

// The same with a plain result: true when at least one pixel has got a colour. False also when
// memory ran out; hidden pixels may then have lost colour and alpha.
[[nodiscard]] bool RepairTransparentPixels(Bitmap& bitmap, int32_t threshold);
